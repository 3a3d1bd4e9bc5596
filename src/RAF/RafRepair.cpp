#include "RAF/RafRepair.h"

#include "RAF/RAF.h"
#include "api/Exceptions.h"
#include "api/RepairRegistry.h"
#include "api/RepairSteps.h"
#include "util/Log.h"

#include <plate_mend/plate_mend.h>

#include <memory>
#include <vector>

namespace plate_mend {

namespace {

const RepairRegistrar registrar("raf", [] { return std::make_shared<RafRepair>(); });

constexpr std::uint32_t kHeaderSize = 8;

/// The first two places in the file where the header stands.
std::vector<std::uint32_t> first_two(const RAF& sample, const RAF::Pattern& header) {
    std::vector<std::uint32_t> offsets{sample.search_tag(header, 0)};
    offsets.push_back(sample.search_tag(header, offsets.front() + kHeaderSize));
    return offsets;
}

/// The TIFF headers of the Exif and of the raw section. "MM" headers are found here and refused when read.
std::vector<std::uint32_t> find_headers(const RAF& sample) {
    try {
        return first_two(sample, RAF::kLittleEndianHeader);
    } catch (const NotFoundException&) {
        return first_two(sample, RAF::kBigEndianHeader);
    }
}

/// Reads what the repair needs of the sample, then blanks the pictures of the clone.
void read_sample(RAF& sample, const std::vector<std::uint32_t>& headers) {
    sample.read_ifh(headers);
    sample.read_thumb_tags(sample.ifd1_offset());
    sample.read_sample_strip_tags();
    sample.clear_thumb();
    sample.deal_high_jpg_data();
}

/// Finds the raw data. The file is taken to have the sample's byte order.
void read_damaged(RAF& damaged, std::uint8_t big_endian) {
    damaged.set_big_endian(big_endian);
    damaged.find_tiff_offsets();
    damaged.read_damaged_strip_tags();
}

} // namespace

std::int32_t RafRepair::AdvanceRepair(const char* damaged_file, const char* sample_file,
                                      const char* output_file) {
    const RepairPaths paths = decode_paths(damaged_file, sample_file, output_file);
    clear_path(paths.output);
    if (!inputs_exist(paths)) {
        return PLATE_MEND_RAF_INPUT_MISSING;
    }
    const auto temporary = temporary_path("temp.raf");
    clear_path(temporary);
    if (!clone_file(paths.sample, temporary)) {
        PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair", "orf file clone faild");
        return PLATE_MEND_RAF_CLONE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("RafRepair::AdvanceRepair", "orf file clone success");

    const auto sample = std::make_shared<RAF>(temporary);
    if (!sample->is_mapped()) {
        PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair", "sample file map error");
        return PLATE_MEND_RAF_MAP_FAILED;
    }
    try {
        const auto headers = find_headers(*sample);
        if (headers.size() != 2) { // A safeguard: the searches give two or throw.
            PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair", "ifh tag not found");
            return PLATE_MEND_RAF_SAMPLE_NOT_FOUND;
        }
        read_sample(*sample, headers);
    } catch (const OutRangeException& e) {
        PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair", "sample file catch OutRangeException, reason is %s",
                             e.what());
        return PLATE_MEND_RAF_OUT_OF_RANGE;
    } catch (const NotFoundException& e) {
        PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair", "sample file catch NotFoundException, reason is %s",
                             e.what());
        return PLATE_MEND_RAF_SAMPLE_NOT_FOUND;
    } catch (const VisitingBeyondException& e) {
        PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair",
                             "sample file catch VisitingBeyondException, reason is %s", e.what());
        return PLATE_MEND_RAF_OUT_OF_RANGE;
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair", "sample file catch Exception, reason is %s",
                             e.what());
        return PLATE_MEND_RAF_SAMPLE_UNUSABLE;
    }

    const auto damaged = std::make_shared<RAF>(paths.damaged);
    if (!damaged->is_mapped()) {
        PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair", "corrupted file map error");
        return PLATE_MEND_RAF_MAP_FAILED;
    }
    try {
        read_damaged(*damaged, sample->big_endian());
    } catch (const OutRangeException& e) {
        PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair",
                             "corrupted file catch OutRangeException, reason is %s", e.what());
        return PLATE_MEND_RAF_OUT_OF_RANGE;
    } catch (const NotFoundException& e) {
        PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair",
                             "corrupted file catch NotFoundExcepton, reason is %s", e.what());
        return PLATE_MEND_RAF_OUT_OF_RANGE;
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair", "corrupted file catch Exception, reason is %s",
                             e.what());
        return PLATE_MEND_RAF_SAMPLE_UNUSABLE;
    }

    try {
        RAF::merge_data(damaged, sample, paths.output);
        remove_path(temporary);
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair", "raf merge data error is %s", e.what());
        return PLATE_MEND_RAF_MERGE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("RafRepair::AdvanceRepair", "raf advanced repair success!");
    return 0;
}

std::int32_t RafRepair::GeneralRepair(const char* damaged_file, const char* output_file) {
    const std::int32_t result = run_general_repair(damaged_file, output_file);
    if (result != 0) {
        PLATE_MEND_LOG_INFORMATION("RafRepair::GeneralRepair", "raf general repair fail!");
        return result;
    }
    PLATE_MEND_LOG_INFORMATION("RafRepair::GeneralRepair", "raf general repair success!");
    return 0;
}

} // namespace plate_mend
