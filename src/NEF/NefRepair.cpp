#include "NEF/NefRepair.h"

#include "NEF/NEF.h"
#include "api/Exceptions.h"
#include "api/RepairRegistry.h"
#include "api/RepairSteps.h"
#include "util/Log.h"
#include "util/Slice.h"

#include <plate_mend/plate_mend.h>

#include <memory>
#include <vector>

namespace plate_mend {

namespace {

const RepairRegistrar registrar("nef", [] { return std::make_shared<NefRepair>(); });

constexpr NEF::Pattern kNewSubfileType{0x00, 0xFE};  // 254
constexpr NEF::Pattern kStripOffsets{0x01, 0x11};    // 273
constexpr NEF::Pattern kStripByteCounts{0x01, 0x17}; // 279
constexpr NEF::Pattern kSubIfds{0x01, 0x4A};         // 330
constexpr NEF::Pattern kJpegOffset{0x02, 0x01};      // 513 JPEGInterchangeFormat

std::shared_ptr<NEF_DE> new_entry() {
    return std::make_shared<NEF_DE>();
}

/// Blanks the pictures of IFD 0 and of the first sub-directory in the clone, and finds its raw data by the
/// second sub-directory.
void read_sample(NEF& sample) {
    sample.parse_header();
    const std::uint32_t ifd0 = sample.first_ifd_offset();
    const std::uint32_t offsets = sample.find_tag(kStripOffsets, ifd0);
    const std::uint32_t counts = sample.find_tag(kStripByteCounts, ifd0);
    sample.blank_strip(new_entry(), new_entry(), offsets, counts);

    const std::vector<std::uint32_t> sub_ifds =
        sample.read_sub_ifd_offsets(new_entry(), sample.find_tag(kSubIfds, ifd0));
    sample.blank_entry_data(new_entry(), sample.find_tag(kJpegOffset, sub_ifds.front()));
    if (sub_ifds.size() < 2) { // Checked only here: see docs/compatibility.md, NEF.
        throw OutRangeException();
    }
    const std::uint32_t raw_entry = sample.find_tag(kStripOffsets, sub_ifds[1]);
    sample.set_raw_offset(sample.read_entry_value(new_entry(), raw_entry));
}

/// The offset of the first NewSubfileType entry of value 0, wherever it is. False matches are skipped. There
/// may be millions, so they throw nothing.
std::uint32_t find_main_image(NEF& damaged) {
    const auto entry = new_entry();
    std::uint32_t hit = damaged.find_tag(kNewSubfileType, 0);
    while (!damaged.is_entry(hit) || !damaged.read_entry_is_zero(entry, hit)) {
        hit = damaged.find_tag(kNewSubfileType, hit + 1);
    }
    return hit;
}

/// Finds the raw data of the damaged file, which is assumed to have the sample's byte order. A false match
/// after the main image's NewSubfileType entry ends the repair: see docs/compatibility.md, NEF.
void read_damaged(NEF& damaged) {
    const std::uint32_t main_image = find_main_image(damaged);
    const std::uint32_t raw_entry = damaged.find_tag(kStripOffsets, main_image);
    damaged.set_raw_offset(damaged.read_entry_value(new_entry(), raw_entry));
}

/// Writes the output, appending to what is at the path. Throws OutRangeException when a slice is not inside
/// its file; what has been written by then stays. A failed open or write goes unnoticed: see
/// docs/compatibility.md, NEF.
void merge_data(const std::shared_ptr<NEF>& sample, const std::shared_ptr<NEF>& damaged,
                const std::filesystem::path& output_path) {
    NEF::append_to_file(slice(*sample->mmap, 0, sample->get_raw_offset()), output_path);
    NEF::append_to_file(slice_to_end(*damaged->mmap, damaged->get_raw_offset()), output_path);
    sample->mmap->close(); // Otherwise its file could not be removed.
}

} // namespace

// The plan:
//
// 1. Clear the output, check that both inputs exist, and copy the sample to "temp.nef": the clone.
// 2. Read the clone: the header; by their tags StripOffsets, StripByteCounts and SubIFDs from IFD 0 on;
//    JPEGInterchangeFormat from the first sub-directory on, StripOffsets from the second. Blank on the way
//    the strip of IFD 0 as a whole, and the first 30 bytes of the JPEG of the first sub-directory.
// 3. Search the damaged file from its first byte, in the sample's byte order, for a NewSubfileType entry of
//    value 0, and from there for the first StripOffsets.
// 4. Join the clone up to its raw data and the damaged file from its raw data to its end. Nothing is patched.
// 5. Remove the clone.
std::int32_t NefRepair::AdvanceRepair(const char* damaged_file, const char* sample_file,
                                      const char* output_file) {
    const RepairPaths paths = decode_paths(damaged_file, sample_file, output_file);
    clear_path(paths.output);
    if (!inputs_exist(paths)) {
        return PLATE_MEND_NEF_INPUT_MISSING;
    }
    const auto temporary = temporary_path("temp.nef");
    clear_path(temporary);
    if (!clone_file(paths.sample, temporary)) {
        PLATE_MEND_LOG_ERROR("NefRepair::AdvanceRepair", "nef file clone faild");
        return PLATE_MEND_NEF_CLONE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("NefRepair::AdvanceRepair", "nef file clone success");

    const auto sample = std::make_shared<NEF>(temporary);
    if (!sample->is_valid()) {
        PLATE_MEND_LOG_ERROR("NefRepair::AdvanceRepair", "nef sample repaired failed");
        return PLATE_MEND_NEF_SAMPLE_UNUSABLE;
    }
    try {
        read_sample(*sample);
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("NefRepair::AdvanceRepair", "nef sample repaired failed, reason is %s",
                             e.what());
        return PLATE_MEND_NEF_SAMPLE_UNUSABLE;
    }

    const auto damaged = std::make_shared<NEF>(paths.damaged);
    if (!damaged->is_valid()) {
        PLATE_MEND_LOG_ERROR("NefRepair::AdvanceRepair", "nef damaged repaired failed");
        return PLATE_MEND_NEF_DAMAGED_UNUSABLE;
    }
    damaged->set_big_endian(sample->is_big_endian());
    try {
        read_damaged(*damaged);
    } catch (const NotFoundException& e) {
        PLATE_MEND_LOG_ERROR("NefRepair::AdvanceRepair", "nef cannot find raw offset, reason is %s",
                             e.what());
        return PLATE_MEND_NEF_NOT_FOUND;
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("NefRepair::AdvanceRepair", "nef damaged repaired failed, reason is %s",
                             e.what());
        return PLATE_MEND_NEF_DAMAGED_UNUSABLE;
    }

    try {
        merge_data(sample, damaged, paths.output);
        remove_path(temporary);
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("NefRepair::AdvanceRepair", "nef merge data failed, reason is %s", e.what());
        return PLATE_MEND_NEF_MERGE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("NefRepair::AdvanceRepair", "nef repaired success");
    return 0;
}

std::int32_t NefRepair::GeneralRepair(const char* damaged_file, const char* output_file) {
    const std::int32_t result = run_general_repair(damaged_file, output_file);
    if (result != 0) {
        PLATE_MEND_LOG_INFORMATION("NefRepair::GeneralRepair", "nef general repair fail!");
        return result;
    }
    PLATE_MEND_LOG_INFORMATION("NefRepair::GeneralRepair", "nef general repair success!");
    return 0;
}

} // namespace plate_mend
