#include "DNG/DngRepair.h"

#include "DNG/DNG.h"
#include "api/Exceptions.h"
#include "api/RepairRegistry.h"
#include "api/RepairSteps.h"
#include "util/Log.h"
#include "util/Reading.h"
#include "util/Slice.h"

#include <plate_mend/plate_mend.h>

#include <memory>
#include <vector>

namespace plate_mend {

namespace {

const RepairRegistrar registrar("dng", [] { return std::make_shared<DngRepair>(); });

constexpr DNG::Pattern kNewSubfileType{0x00, 0xFE}; // 254
constexpr DNG::Pattern kStripOffsets{0x01, 0x11};   // 273
constexpr DNG::Pattern kSubIfds{0x01, 0x4A};        // 330

/// The tile lists of a main image.
struct Tiles {
    std::vector<ValueSlot> offsets;
    std::vector<ValueSlot> byte_counts;
};

/// Blanks the preview of IFD 0 in the clone. Returns the offsets of the sub-directories.
std::vector<std::uint32_t> read_first_directory(DNG& sample) {
    sample.parse_header();
    const std::uint32_t first_ifd = sample.first_ifd_offset();
    sample.blank_entry_data(std::make_shared<DE>(), sample.find_tag(kStripOffsets, first_ifd));
    return sample.read_sub_ifd_offsets(std::make_shared<DE>(), sample.find_tag(kSubIfds, first_ifd));
}

/// Reads the tile lists of the main image and blanks the previews of the other sub-directories. With several
/// main images the lists of the last one are returned (see docs/compatibility.md, DNG); without one they are
/// empty.
Tiles read_sub_directories(DNG& sample, const std::vector<std::uint32_t>& offsets) {
    for (const std::uint32_t offset : offsets) {
        const std::uint32_t subfile_type = sample.find_tag(kNewSubfileType, offset);
        if (sample.read_entry_is_zero(std::make_shared<DE>(), subfile_type)) {
            sample.read_tile_offsets(offset);
            sample.read_tile_byte_counts(offset);
        } else {
            sample.blank_entry_data(std::make_shared<DE>(), sample.find_tag(kStripOffsets, offset));
        }
    }
    return {sample.tile_offsets(), sample.tile_byte_counts()};
}

/// Finds the first NewSubfileType entry of value 0 that is followed by two valid tile entries, and reads
/// their lists. The lists of an empty file are empty.
Tiles read_damaged(DNG& damaged) {
    std::uint32_t scan_offset = 0;
    while (scan_offset < damaged.file_size()) {
        const std::uint32_t match = damaged.find_tag(kNewSubfileType, scan_offset);
        scan_offset = match + 1;
        if (!damaged.is_entry(match)) { // A false match. There may be millions, so it throws nothing.
            continue;
        }
        try {
            if (damaged.read_entry_is_zero(std::make_shared<DE>(), match)) {
                damaged.read_tile_offsets(match);
                damaged.read_tile_byte_counts(match);
                break;
            }
        } catch (const IllegalException&) {
            // An invalid tile entry after a true match: the search goes on. A list read by then stays until a
            // later match replaces it: see docs/compatibility.md, DNG.
        }
    }
    return {damaged.tile_offsets(), damaged.tile_byte_counts()};
}

/// Throws MismatchingException unless the lists of both files have the same lengths and hold what the merge
/// needs: a first offset, a last byte count, and a byte count for every tile before the last.
void require_matching_tiles(const Tiles& sample, const Tiles& damaged) {
    const std::size_t offsets = sample.offsets.size();
    const std::size_t byte_counts = sample.byte_counts.size();
    if (offsets != damaged.offsets.size() || byte_counts != damaged.byte_counts.size()) {
        throw MismatchingException();
    }
    if (offsets == 0 || byte_counts == 0 || byte_counts < offsets - 1) {
        throw MismatchingException();
    }
}

void patch_number(DNG& sample, const ValueSlot& slot, std::uint32_t number) {
    sample.mmap()->seek(slot.position);
    write_u32(*sample.mmap(), sample.as_stored(number));
}

/// Rewrites the clone's tile tables for the damaged file's tiles, which will follow one another from the
/// sample's first tile offset on.
void patch_tables(DNG& sample, const Tiles& sample_tiles, const Tiles& damaged_tiles) {
    const auto& byte_counts = damaged_tiles.byte_counts;
    for (std::size_t tile = 0; tile < sample_tiles.byte_counts.size(); ++tile) {
        patch_number(sample, sample_tiles.byte_counts[tile], byte_counts[tile].value);
    }
    std::uint32_t offset = sample_tiles.offsets.front().value; // The sum wraps at 32 bits.
    for (std::size_t tile = 0; tile + 1 < sample_tiles.offsets.size(); ++tile) {
        offset += byte_counts[tile].value;
        patch_number(sample, sample_tiles.offsets[tile + 1], offset);
    }
}

/// Writes the output, which does not exist yet. Failed writes go unnoticed. Throws MismatchingException
/// before anything is patched, OutRangeException when a slice is not inside its file; what has been written
/// by then stays.
void merge_data(const std::shared_ptr<DNG>& sample, const Tiles& sample_tiles,
                const std::shared_ptr<DNG>& damaged, const Tiles& damaged_tiles,
                const std::filesystem::path& output_path) {
    require_matching_tiles(sample_tiles, damaged_tiles);
    const std::uint32_t sample_image = sample_tiles.offsets.front().value;
    const std::uint32_t damaged_image = damaged_tiles.offsets.front().value;
    patch_tables(*sample, sample_tiles, damaged_tiles);
    DNG::append_to_file(slice(*sample->mmap(), 0, sample_image), output_path);

    const std::uint32_t image_size = damaged_tiles.offsets.back().value +
                                     damaged_tiles.byte_counts.back().value - damaged_image; // Wraps, too.
    DNG::append_to_file(slice(*damaged->mmap(), damaged_image, image_size), output_path);
    sample->mmap()->close(); // Otherwise its file could not be removed.
}

} // namespace

// The plan:
//
// 1. Clear the output, check that both inputs exist, and copy the sample to "temp.dng": the clone.
// 2. Read the clone's header and, found by their tags from IFD 0 on, StripOffsets and SubIFDs. Blank the
//    first 30 bytes of what StripOffsets points to, a preview.
// 3. For each sub-directory of the clone: where NewSubfileType is 0, the main image, read the lists of
//    TileOffsets and TileByteCounts; elsewhere blank the first 30 bytes of what its StripOffsets points to.
// 4. Search the damaged file from its first byte, in the sample's byte order, for a NewSubfileType entry of
//    value 0; read the lists of the first TileOffsets and TileByteCounts after it. Where one of these entries
//    is invalid, search on.
// 5. Compare the lengths of the lists. Patch the clone: its byte counts become the damaged file's, and its
//    offsets those of tiles that follow one another from the sample's first offset on.
// 6. Join the clone up to its first tile and the damaged file from its first tile to the end of its last.
// 7. Remove the clone.
//
// Whether the files are mapped is not checked, and five failures share one text: see docs/compatibility.md,
// DNG.
std::int32_t DngRepair::AdvanceRepair(const char* damaged_file, const char* sample_file,
                                      const char* output_file) {
    const RepairPaths paths = decode_paths(damaged_file, sample_file, output_file);
    clear_path(paths.output);
    if (!inputs_exist(paths)) {
        return PLATE_MEND_DNG_INPUT_MISSING;
    }
    const auto temporary = temporary_path("temp.dng");
    clear_path(temporary);
    if (!clone_file(paths.sample, temporary)) {
        PLATE_MEND_LOG_ERROR("DngRepair::AdvanceRepair", "dng file clone faild");
        return PLATE_MEND_DNG_CLONE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("DngRepair::AdvanceRepair", "dng file clone success");

    const auto sample = std::make_shared<DNG>(temporary);
    std::vector<std::uint32_t> sub_ifds;
    try {
        sub_ifds = read_first_directory(*sample);
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("DngRepair::AdvanceRepair", "DNG repaired failed, reason is %s", e.what());
        return PLATE_MEND_DNG_SAMPLE_UNUSABLE;
    }
    Tiles sample_tiles;
    try {
        sample_tiles = read_sub_directories(*sample, sub_ifds);
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("DngRepair::AdvanceRepair", "DNG repaired failed, reason is %s", e.what());
        return PLATE_MEND_DNG_SAMPLE_UNUSABLE;
    }

    const auto damaged = std::make_shared<DNG>(paths.damaged);
    damaged->set_big_endian(sample->big_endian());
    Tiles damaged_tiles;
    try {
        damaged_tiles = read_damaged(*damaged);
    } catch (const NotFoundException& e) {
        PLATE_MEND_LOG_ERROR("DngRepair::AdvanceRepair", "DNG repaired failed, reason is %s", e.what());
        return PLATE_MEND_DNG_NOT_FOUND;
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("DngRepair::AdvanceRepair", "DNG repaired failed, reason is %s", e.what());
        return PLATE_MEND_DNG_DAMAGED_UNUSABLE;
    }

    try {
        merge_data(sample, sample_tiles, damaged, damaged_tiles, paths.output);
        remove_path(temporary);
    } catch (const std::exception& e) {
        PLATE_MEND_LOG_ERROR("DngRepair::AdvanceRepair", "DNG repaired failed, reason is %s", e.what());
        return PLATE_MEND_DNG_MERGE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("DngRepair::AdvanceRepair", "DNG repaired success");
    return 0;
}

std::int32_t DngRepair::GeneralRepair(const char* damaged_file, const char* output_file) {
    const std::int32_t result = run_general_repair(damaged_file, output_file);
    if (result != 0) {
        PLATE_MEND_LOG_INFORMATION("DngRepair::GeneralRepair", "dng general repair fail!");
        return result;
    }
    PLATE_MEND_LOG_INFORMATION("DngRepair::GeneralRepair", "dng general repair success!");
    return 0;
}

} // namespace plate_mend
