#include "ARW/ArwRepair.h"

#include "ARW/ARW.h"
#include "api/Exceptions.h"
#include "api/RepairRegistry.h"
#include "api/RepairSteps.h"
#include "util/Log.h"
#include "util/Reading.h"
#include "util/Slice.h"

#include <plate_mend/plate_mend.h>

#include <fstream>
#include <iostream>
#include <memory>

namespace plate_mend {

namespace {

// One factory for both keys: a .raw file is read as an ARW (see docs/compatibility.md, All formats).
std::shared_ptr<AbstractRepair> make_arw_repair() {
    return std::make_shared<ArwRepair>();
}

const RepairRegistrar arw_registrar("arw", make_arw_repair);
const RepairRegistrar raw_registrar("raw", make_arw_repair);

constexpr ARW::Pattern kStripOffsets{0x01, 0x11}; // 273

// Positions in sub_ifd->entries, the same in the sample and in the damaged file.
constexpr std::size_t kStripOffsetsEntry = 0;
constexpr std::size_t kStripByteCountsEntry = 2;
constexpr std::uint64_t kValueInEntry = 8; // After tag, type and count.

/// Reads what the repair needs from the clone, then blanks its previews.
void read_sample(ARW& sample) {
    sample.parse_header();
    const std::uint32_t ifd0 = sample.first_ifd_offset();
    const std::uint32_t ifd1 = sample.read_ifd0(ifd0);
    sample.read_ifd0_tags(ifd0, ifd1);
    const std::uint32_t sub_ifd = sample.read_sub_ifd();
    sample.read_sub_ifd_tags(sub_ifd);
    const std::uint32_t ifd2 = sample.read_ifd1(ifd1);
    sample.read_ifd1_tags(ifd1, ifd2);
    sample.read_ifd2(ifd2);
    sample.read_ifd2_tags(ifd2);
    sample.clear_previews();
}

/// Finds the first group of strip entries, wherever it is. The file is assumed to have the sample's byte
/// order.
void read_damaged(ARW& damaged, bool big_endian) {
    damaged.set_big_endian(big_endian);
    std::uint32_t triple = damaged.find_bytes(kStripOffsets, 0);
    while (!damaged.is_strip_triple(triple)) {
        triple = damaged.find_bytes(kStripOffsets, triple + 1);
    }
    damaged.read_strip_triple(triple);
}

/// Writes the output. Failed writes go unnoticed. Throws VisitingBeyondException when the output cannot be
/// opened, OutRangeException when a slice is not inside its file; what has been written by then stays.
void merge_data(const std::shared_ptr<ARW>& damaged, const std::shared_ptr<ARW>& sample,
                const std::filesystem::path& output_path) {
    clear_path(output_path);
    std::ofstream output(output_path, std::ios::binary | std::ios::app);
    if (!output.is_open()) {
        throw VisitingBeyondException();
    }
    const ARW_IFD& sample_strip = *sample->sub_ifd;
    const ARW_IFD& damaged_strip = *damaged->sub_ifd;

    // Copied as stored, without conversion: both files have the same byte order.
    const std::uint64_t byte_count = sample_strip.entries[kStripByteCountsEntry]->position;
    sample->map->seek(byte_count + kValueInEntry);
    write_u32(*sample->map, damaged_strip.entries[kStripByteCountsEntry]->value);

    const std::uint32_t sample_image = sample->native(sample_strip.entries[kStripOffsetsEntry]->value);
    insert_bytes(output, slice(*sample->map, 0, sample_image));
    const std::uint32_t damaged_image = damaged->native(damaged_strip.entries[kStripOffsetsEntry]->value);
    insert_bytes(output, slice_to_end(*damaged->map, damaged_image));

    output.close();
    sample->map->close(); // Otherwise its file could not be removed.
}

} // namespace

// The plan:
//
// 1. Clear the output, check that both inputs exist, and copy the sample to "temp.arw": the clone.
// 2. Read the clone: header, IFD 0, Sub IFD, IFD 1 and IFD 2. Each directory's entries are found by their
//    tags: those of the strip in the Sub IFD, those of a preview in the others.
// 3. Blank the first 30 bytes of the three previews in the clone.
// 4. Search the damaged file from its first byte, in the sample's byte order, for a StripOffsets tag with
//    RowsPerStrip 12 bytes and StripByteCounts 24 bytes after it. Nothing else in it is parsed.
// 5. Patch the clone: its StripByteCounts gets the damaged file's value.
// 6. Join the clone up to its image and the damaged file from its image to its end.
// 7. Remove the clone.
std::int32_t ArwRepair::AdvanceRepair(const char* damaged_file, const char* sample_file,
                                      const char* output_file) {
    const RepairPaths paths = decode_paths(damaged_file, sample_file, output_file);
    clear_path(paths.output);
    if (!inputs_exist(paths)) {
        return PLATE_MEND_ARW_INPUT_MISSING;
    }
    const auto temporary = temporary_path("temp.arw");
    clear_path(temporary);
    if (!clone_file(paths.sample, temporary)) {
        PLATE_MEND_LOG_ERROR("ArwRepair::AdvanceRepair", "arw file clone faild");
        return PLATE_MEND_ARW_CLONE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("ArwRepair::AdvanceRepair", "arw file clone success");

    const auto sample = std::make_shared<ARW>(temporary);
    if (!sample->is_mapped()) {
        PLATE_MEND_LOG_ERROR("ArwRepair::AdvanceRepair", "sample file map error");
        return PLATE_MEND_ARW_MAP_FAILED;
    }
    try {
        read_sample(*sample);
    } catch (const VisitingBeyondException& e) {
        PLATE_MEND_LOG_ERROR("ArwRepair::AdvanceRepair", "sample parameter error is %s", e.what());
        return PLATE_MEND_ARW_OUT_OF_RANGE;
    } catch (const OutRangeException& e) {
        PLATE_MEND_LOG_ERROR("ArwRepair::AdvanceRepair", "sample offset error is %s", e.what());
        return PLATE_MEND_ARW_OUT_OF_RANGE;
    } catch (const std::exception& e) {
        // The only one that is not logged: see docs/compatibility.md, ARW and SR2.
        std::cerr << e.what() << std::endl;
        return PLATE_MEND_ARW_SAMPLE_UNUSABLE;
    }

    const auto damaged = std::make_shared<ARW>(paths.damaged, true);
    if (!damaged->is_mapped()) {
        PLATE_MEND_LOG_ERROR("ArwRepair::AdvanceRepair", "corrupt file map error");
        return PLATE_MEND_ARW_MAP_FAILED;
    }
    try {
        read_damaged(*damaged, sample->is_big_endian());
    } catch (const NotFoundException&) {
        PLATE_MEND_LOG_ERROR("ArwRepair::AdvanceRepair", "corrupt file not found tag");
        return PLATE_MEND_ARW_NOT_FOUND;
    } catch (const VisitingBeyondException&) {
        PLATE_MEND_LOG_ERROR("ArwRepair::AdvanceRepair", "corrupt file parameter offset is far");
        return PLATE_MEND_ARW_OUT_OF_RANGE;
    } catch (const OutRangeException&) {
        PLATE_MEND_LOG_ERROR("ArwRepair::AdvanceRepair", "corrupt file offset is far");
        return PLATE_MEND_ARW_OUT_OF_RANGE;
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("ArwRepair::AdvanceRepair", "corrupt file error: %s", e.what());
        return PLATE_MEND_ARW_SAMPLE_UNUSABLE; // See docs/compatibility.md, ARW and SR2.
    }

    try {
        merge_data(damaged, sample, paths.output);
        remove_path(temporary);
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("ArwRepair::AdvanceRepair", "arw merge data error: %s", e.what());
        return PLATE_MEND_ARW_MERGE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("ArwRepair::AdvanceRepair", "arw advanced repair success!");
    return 0;
}

std::int32_t ArwRepair::GeneralRepair(const char* damaged_file, const char* output_file) {
    const std::int32_t result = run_general_repair(damaged_file, output_file);
    if (result != 0) {
        PLATE_MEND_LOG_INFORMATION("ArwRepair::GeneralRepair", "arw general repair fail!");
        return result;
    }
    PLATE_MEND_LOG_INFORMATION("ArwRepair::GeneralRepair", "arw general repair success!");
    return 0;
}

} // namespace plate_mend
