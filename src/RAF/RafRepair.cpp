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

/// The offsets of the first two places where the header is.
std::vector<std::uint32_t> first_two(const RAF& sample, const RAF::Pattern& header) {
    std::vector<std::uint32_t> offsets{sample.search_tag(header, 0)};
    offsets.push_back(sample.search_tag(header, offsets.front() + kHeaderSize));
    return offsets;
}

/// The TIFF headers of the Exif and of the raw section. "MM" headers are found here and refused when they are
/// read: see docs/compatibility.md, RAF.
std::vector<std::uint32_t> find_headers(const RAF& sample) {
    try {
        return first_two(sample, RAF::kLittleEndianHeader);
    } catch (const NotFoundException&) {
        return first_two(sample, RAF::kBigEndianHeader);
    }
}

/// Reads what the repair needs from the clone, then blanks its pictures.
void read_sample(RAF& sample, const std::vector<std::uint32_t>& headers) {
    sample.read_ifh(headers);
    sample.read_thumb_tags(sample.ifd1_offset());
    sample.read_sample_strip_tags();
    sample.clear_thumb();
    sample.deal_high_jpg_data();
}

/// Finds the raw data. The file is assumed to have the sample's byte order.
void read_damaged(RAF& damaged, std::uint8_t big_endian) {
    damaged.set_big_endian(big_endian);
    damaged.find_tiff_offsets();
    damaged.read_damaged_strip_tags();
}

} // namespace

// The plan:
//
// 1. Clear the output, check that both inputs exist, and copy the sample to "temp.raf": the clone.
// 2. Read the clone: the first two TIFF headers (of the Exif and of the raw section), by IFD 0 the offset of
//    IFD 1, by their tags the thumbnail's offset and length after IFD 1, and StripOffsets (0xF007) and
//    StripByteCounts (0xF008) after the second header.
// 3. Blank in the clone the thumbnail and the high jpg data, from a DHT marker to the end of the next DQT
//    marker.
// 4. Search the damaged file for every TIFF header in the sample's byte order, and for the first 0xF007 and
//    the first 0xF008 of type LONG. A header at most 136 bytes before the 0xF007 entry is what its value
//    counts from. Without a 0xF008 the raw data extend to the end of the file.
// 5. Patch the clone: its StripByteCounts gets the length of the damaged file's raw data.
// 6. Join the clone up to its raw data and the damaged file's raw data, as much as there is of their length.
// 7. Remove the clone.
//
// Several log texts speak of another format or are misspelled, and a search without a match in the damaged
// file has the code of an offset out of range: see docs/compatibility.md, RAF.
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
        if (headers.size() != 2) { // Never so: see docs/compatibility.md, RAF.
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
