#include "CR2/Cr2Repair.h"

#include "CR2/CR2.h"
#include "api/Exceptions.h"
#include "api/RepairRegistry.h"
#include "api/RepairSteps.h"
#include "util/Log.h"
#include "util/Slice.h"

#include <plate_mend/plate_mend.h>

#include <memory>

namespace plate_mend {

namespace {

const RepairRegistrar registrar("cr2", [] { return std::make_shared<Cr2Repair>(); });

constexpr CR2::Pattern kStripOffsets{0x01, 0x11};    // 273
constexpr CR2::Pattern kStripByteCounts{0x01, 0x17}; // 279
constexpr CR2::Pattern kJpegOffset{0x02, 0x01};      // 513 JPEGInterchangeFormat
constexpr CR2::Pattern kJpegLength{0x02, 0x02};      // 514 JPEGInterchangeFormatLength
constexpr CR2::Pattern kGpsInfo{0x88, 0x25};         // 34853

std::shared_ptr<CR2_DE> new_entry() {
    return std::make_shared<CR2_DE>();
}

/// Blanks the pictures of the first three directories in the clone, and finds its raw data.
void read_sample(CR2& sample) {
    sample.parse_header();
    const std::uint32_t ifd0 = sample.first_ifd_offset();
    const std::uint32_t raw_ifd = sample.raw_ifd_offset();
    sample.blank_entry_data(new_entry(), sample.find_tag(kStripOffsets, ifd0));

    // Either entry is assumed to be the last of its directory: see docs/compatibility.md, CR2.
    const std::uint32_t ifd1 = sample.read_next_ifd_link(new_entry(), sample.find_tag(kGpsInfo, ifd0));
    sample.blank_entry_data(new_entry(), sample.find_tag(kJpegOffset, ifd1));
    const std::uint32_t ifd2 = sample.read_next_ifd_link(new_entry(), sample.find_tag(kJpegLength, ifd1));

    const std::uint32_t offsets = sample.find_tag(kStripOffsets, ifd2);
    const std::uint32_t counts = sample.find_tag(kStripByteCounts, ifd2);
    sample.blank_strip(new_entry(), new_entry(), offsets, counts);

    const std::uint32_t raw_entry = sample.find_tag(kStripOffsets, raw_ifd);
    sample.set_raw_offset(sample.read_entry_value(new_entry(), raw_entry));
}

/// Finds the raw data of the damaged file by the first pair of strip entries like those of the raw image,
/// wherever it is. The file is assumed to have the sample's byte order.
void read_damaged(CR2& damaged, bool big_endian) {
    damaged.set_big_endian(big_endian);
    std::uint32_t raw_entry = damaged.find_tag(kStripOffsets, 0);
    while (!damaged.is_raw_strip_entry(raw_entry)) {
        raw_entry = damaged.find_tag(kStripOffsets, raw_entry + 1);
    }
    damaged.set_raw_offset(damaged.read_entry_value(new_entry(), raw_entry));
}

/// Writes the output, appending to what is at the path. Throws OutRangeException when a slice is not inside
/// its file; what has been written by then stays. A failed open or write goes unnoticed: see
/// docs/compatibility.md, CR2.
void merge_data(const std::shared_ptr<CR2>& sample, const std::shared_ptr<CR2>& damaged,
                const std::filesystem::path& output_path) {
    CR2::append_to_file(slice(*sample->mmap, 0, sample->get_raw_offset()), output_path);
    CR2::append_to_file(slice_to_end(*damaged->mmap, damaged->get_raw_offset()), output_path);
    sample->mmap->close(); // Otherwise its file could not be removed.
}

} // namespace

// The plan:
//
// 1. Clear the output, check that both inputs exist, and copy the sample to "temp.cr2": the clone.
// 2. Read the clone: the header, with the offsets of IFD 0 and of the raw image's directory; by their tags
//    StripOffsets and GPSInfo from IFD 0 on, the link after GPSInfo being IFD 1; JPEGInterchangeFormat and
//    its length from IFD 1 on, the link after the length being IFD 2; StripOffsets and StripByteCounts from
//    IFD 2 on; StripOffsets from the raw image's directory on. Blank on the way the first 30 bytes of the
//    pictures of IFD 0 and IFD 1, and the strip of IFD 2 as a whole.
// 3. Search the damaged file from its first byte, in the sample's byte order, for a StripOffsets tag
//    followed, 12 bytes later, by a StripByteCounts entry of type LONG whose count and value are not 0.
// 4. Join the clone up to its raw data and the damaged file from its raw data to its end. Nothing is patched.
// 5. Remove the clone.
std::int32_t Cr2Repair::AdvanceRepair(const char* damaged_file, const char* sample_file,
                                      const char* output_file) {
    const RepairPaths paths = decode_paths(damaged_file, sample_file, output_file);
    clear_path(paths.output);
    if (!inputs_exist(paths)) {
        return PLATE_MEND_CR2_INPUT_MISSING;
    }
    const auto temporary = temporary_path("temp.cr2");
    clear_path(temporary);
    if (!clone_file(paths.sample, temporary)) {
        PLATE_MEND_LOG_ERROR("Cr2Repair::AdvanceRepair", "cr2 file clone faild");
        return PLATE_MEND_CR2_CLONE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("Cr2Repair::AdvanceRepair", "cr2 file clone success");

    const auto sample = std::make_shared<CR2>(temporary);
    if (!sample->is_valid()) {
        PLATE_MEND_LOG_ERROR("Cr2Repair::AdvanceRepair", "Cr2 temp file can not open");
        return PLATE_MEND_CR2_SAMPLE_UNUSABLE;
    }
    try {
        read_sample(*sample);
    } catch (const VisitingBeyondException& e) {
        PLATE_MEND_LOG_ERROR("Cr2Repair::AdvanceRepair", "CR2 sample repaired failed, reason is %s",
                             e.what());
        return PLATE_MEND_CR2_SAMPLE_UNUSABLE;
    } catch (const std::exception& e) { // The same text and code: see docs/compatibility.md, CR2.
        PLATE_MEND_LOG_ERROR("Cr2Repair::AdvanceRepair", "CR2 sample repaired failed, reason is %s",
                             e.what());
        return PLATE_MEND_CR2_SAMPLE_UNUSABLE;
    }

    const auto damaged = std::make_shared<CR2>(paths.damaged);
    if (!damaged->is_valid()) {
        PLATE_MEND_LOG_ERROR("Cr2Repair::AdvanceRepair", "Cr2 corrupt file can not open");
        return PLATE_MEND_CR2_DAMAGED_UNUSABLE;
    }
    try {
        read_damaged(*damaged, sample->is_big_endian());
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("Cr2Repair::AdvanceRepair", "CR2 damaged repaired failed, reason is %s",
                             e.what());
        return PLATE_MEND_CR2_DAMAGED_UNUSABLE;
    }

    try {
        merge_data(sample, damaged, paths.output);
        remove_path(temporary);
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("Cr2Repair::AdvanceRepair", "CR2 merge data failed, reason is %s", e.what());
        return PLATE_MEND_CR2_MERGE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("Cr2Repair::AdvanceRepair", "CR2 repaired success");
    return 0;
}

std::int32_t Cr2Repair::GeneralRepair(const char* damaged_file, const char* output_file) {
    const std::int32_t result = run_general_repair(damaged_file, output_file);
    if (result != 0) {
        PLATE_MEND_LOG_INFORMATION("Cr2Repair::GeneralRepair", "cr2 general repair fail!");
        return result;
    }
    PLATE_MEND_LOG_INFORMATION("Cr2Repair::GeneralRepair", "cr2 general repair success!");
    return 0;
}

} // namespace plate_mend
