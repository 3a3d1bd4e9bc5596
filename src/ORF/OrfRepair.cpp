#include "ORF/OrfRepair.h"

#include "ORF/ORF.h"
#include "api/Exceptions.h"
#include "api/RepairRegistry.h"
#include "api/RepairSteps.h"
#include "util/Log.h"

#include <plate_mend/plate_mend.h>

#include <memory>

namespace plate_mend {

namespace {

const RepairRegistrar registrar("orf", [] { return std::make_shared<OrfRepair>(); });

/// Reads what the repair needs from the clone, then blanks its pictures.
void read_sample(ORF& sample) {
    sample.read_ifh();
    const std::uint32_t ifd0 = sample.first_ifd_offset();
    const auto [next_ifd, ifd0_end] = sample.read_ifd0(ifd0);
    if (next_ifd != 0) { // See docs/compatibility.md, ORF.
        throw IllegalException("ifd 0 end flag illegal");
    }
    sample.read_sample_tags(ifd0, ifd0_end);
    sample.blank_jpegs();
}

/// Finds the first group of strip entries, wherever it is. The file is assumed to have the sample's byte
/// order.
void read_damaged(ORF& damaged, std::uint8_t big_endian) {
    const ORF::Pattern strip_offsets{0x01, 0x11}; // 273
    damaged.set_big_endian(big_endian);
    std::uint32_t group = damaged.search_order_tag(strip_offsets, 0);
    while (!damaged.is_raw_tag(group)) {
        group = damaged.search_order_tag(strip_offsets, group + 1);
    }
    damaged.read_damaged_tags(group);
}

} // namespace

// The plan:
//
// 1. Clear the output, check that both inputs exist, and copy the sample to "temp.orf": the clone.
// 2. Read the clone: header and IFD 0, which must be the only directory of its chain, and in IFD 0 by their
//    tags StripOffsets, RowsPerStrip and StripByteCounts.
// 3. Blank the first 30 bytes of every JPEG (FF D8 FF DB) in the clone.
// 4. Search the damaged file from its first byte, in the sample's byte order, for a StripOffsets tag with
//    RowsPerStrip 36 bytes and StripByteCounts 48 bytes after it. Nothing else in it is parsed.
// 5. Patch the clone: its StripByteCounts gets the damaged file's value.
// 6. Join the clone up to its image and the damaged file from its image to its end.
// 7. Remove the clone.
std::int32_t OrfRepair::AdvanceRepair(const char* damaged_file, const char* sample_file,
                                      const char* output_file) {
    const RepairPaths paths = decode_paths(damaged_file, sample_file, output_file);
    clear_path(paths.output);
    if (!inputs_exist(paths)) {
        return PLATE_MEND_ORF_INPUT_MISSING;
    }
    const auto temporary = temporary_path("temp.orf");
    clear_path(temporary);
    if (!clone_file(paths.sample, temporary)) {
        PLATE_MEND_LOG_ERROR("OrfRepair::AdvanceRepair", "orf file clone faild");
        return PLATE_MEND_ORF_CLONE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("OrfRepair::AdvanceRepair", "orf file clone success");

    const auto sample = std::make_shared<ORF>(temporary);
    if (!sample->is_mapped()) {
        PLATE_MEND_LOG_ERROR("OrfRepair::AdvanceRepair", "sample file map error");
        return PLATE_MEND_ORF_MAP_FAILED;
    }
    try {
        read_sample(*sample);
    } catch (const IllegalException& e) { // The only one with its own code: see docs/compatibility.md, ORF.
        PLATE_MEND_LOG_ERROR("OrfRepair::AdvanceRepair", "sample data illegal, error is %s", e.what());
        return PLATE_MEND_ORF_SAMPLE_ILLEGAL;
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("OrfRepair::AdvanceRepair", "sample catch exception is %s", e.what());
        return PLATE_MEND_ORF_SAMPLE_UNUSABLE;
    }

    const auto damaged = std::make_shared<ORF>(paths.damaged);
    if (!damaged->is_mapped()) {
        PLATE_MEND_LOG_ERROR("OrfRepair::AdvanceRepair", "corrupted file map error");
        return PLATE_MEND_ORF_MAP_FAILED;
    }
    try {
        read_damaged(*damaged, sample->big_endian());
    } catch (const NotFoundException& e) {
        PLATE_MEND_LOG_ERROR("OrfRepair::AdvanceRepair", "corrupt file not found tag, reason is %s",
                             e.what());
        return PLATE_MEND_ORF_NOT_FOUND;
    } catch (const VisitingBeyondException& e) {
        PLATE_MEND_LOG_ERROR("OrfRepair::AdvanceRepair", "corrupt file parameter offset is far, reason is %s",
                             e.what());
        return PLATE_MEND_ORF_OUT_OF_RANGE;
    } catch (const OutRangeException& e) {
        PLATE_MEND_LOG_ERROR("OrfRepair::AdvanceRepair", "corrupt file offset is far, reason is %s",
                             e.what());
        return PLATE_MEND_ORF_OUT_OF_RANGE;
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("OrfRepair::AdvanceRepair", "corrupt file error: %s", e.what());
        return PLATE_MEND_ORF_SAMPLE_UNUSABLE;
    }

    try {
        ORF::merge_data(damaged, sample, paths.output);
        remove_path(temporary);
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("OrfRepair::AdvanceRepair", "orf merge data error is %s", e.what());
        return PLATE_MEND_ORF_MERGE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("OrfRepair::AdvanceRepair", "orf advanced repair success!");
    return 0;
}

std::int32_t OrfRepair::GeneralRepair(const char* damaged_file, const char* output_file) {
    const std::int32_t result = run_general_repair(damaged_file, output_file);
    if (result != 0) {
        PLATE_MEND_LOG_INFORMATION("OrfRepair::GeneralRepair", "orf general repair fail!");
        return result;
    }
    PLATE_MEND_LOG_INFORMATION("OrfRepair::GeneralRepair", "orf general repair success!");
    return 0;
}

} // namespace plate_mend
