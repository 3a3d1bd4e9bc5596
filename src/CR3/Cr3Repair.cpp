#include "CR3/Cr3Repair.h"

#include "CR3/CR3.h"
#include "api/Exceptions.h"
#include "api/RepairRegistry.h"
#include "api/RepairSteps.h"
#include "util/Log.h"

#include <plate_mend/plate_mend.h>

#include <memory>

namespace plate_mend {

namespace {

const RepairRegistrar registrar("cr3", [] { return std::make_shared<Cr3Repair>(); });

/// The sample entries of a damaged file, which identify its tracks: offsets of their types.
struct Landmarks {
    std::uint32_t track1 = 0; ///< "CRAW" of 112 bytes.
    std::uint32_t track3 = 0; ///< "CRAW" of 228 bytes.
    std::uint32_t track4 = 0; ///< "CTMD".
};

/// Reads the sample into objects, and blanks its previews in them.
void read_sample(CR3& sample) {
    sample.parse_ftyp();
    sample.parse_moov();
    sample.parse_xpacket();
    sample.parse_preview();
    sample.parse_mdat();
    sample.blank_previews();
}

/// Both searches for "CRAW" begin at offset 1 (see docs/compatibility.md, CR3), so the two may be in any
/// order.
Landmarks find_landmarks(CR3& damaged) {
    const CR3::Pattern craw{'C', 'R', 'A', 'W'};
    const CR3::Pattern ctmd{'C', 'T', 'M', 'D'};
    Landmarks found;
    found.track1 = damaged.find_data(craw, 1);
    while (!damaged.has_box_size_112(found.track1)) {
        found.track1 = damaged.find_data(craw, found.track1 + 1);
    }
    found.track3 = damaged.find_data(craw, 1);
    while (!damaged.has_box_size_228(found.track3)) {
        found.track3 = damaged.find_data(craw, found.track3 + 1);
    }
    found.track4 = damaged.find_data(ctmd, found.track3);
    return found;
}

/// Finds the tables after the landmarks, and takes from them where the two pictures are.
void locate_tracks(CR3& damaged, const Landmarks& found) {
    const CR3::Pattern stsz{'s', 't', 's', 'z'};
    const CR3::Pattern co64{'c', 'o', '6', '4'};
    const std::uint32_t stsz_1 = damaged.find_data_in_range(stsz, found.track1, found.track3);
    const std::uint32_t co64_1 = damaged.find_data_in_range(co64, found.track1, found.track3);
    const std::uint32_t stsz_3 = damaged.find_data_in_range(stsz, found.track3, found.track4);
    const std::uint32_t co64_3 = damaged.find_data_in_range(co64, found.track3, found.track4);
    damaged.set_corrupt_track1_offset(damaged.read_chunk_offset(co64_1));
    damaged.set_corrupt_track1_size(damaged.read_sample_size(stsz_1));
    damaged.set_corrupt_track3_offset(damaged.read_chunk_offset(co64_3));
    damaged.set_corrupt_track3_size(damaged.read_sample_size(stsz_3));
}

} // namespace

// The plan:
//
// 1. Clear the output and check that both inputs exist. There is no clone.
// 2. Read the sample into objects: "ftyp", "moov" with its four tracks, the "uuid" boxes of the XMP packet
//    and of the preview, and the bytes of the tracks in "mdat". Blank in the objects the first 30 bytes of
//    thumbnail and preview.
// 3. Search the damaged file from offset 1 for the landmarks: "CRAW" in a box of 112 bytes, "CRAW" in a box
//    of 228 bytes, and after the latter "CTMD".
// 4. Search between the first two landmarks, and between the last two, for "stsz" and "co64". They contain
//    the lengths and the offsets of tracks 1 and 3, the two pictures; take their bytes.
// 5. Correct the sample's lengths, offsets and the size of "mdat" for the two tracks, in the objects.
// 6. Write the objects to the output, with tracks 1 and 3 from the damaged file, 2 and 4 from the sample.
//
// Some exceptions pass the catch clauses and reach the host: see docs/compatibility.md, CR3.
std::int32_t Cr3Repair::AdvanceRepair(const char* damaged_file, const char* sample_file,
                                      const char* output_file) {
    const RepairPaths paths = decode_paths(damaged_file, sample_file, output_file);
    clear_path(paths.output);
    if (!inputs_exist(paths)) {
        return PLATE_MEND_CR3_INPUT_MISSING;
    }
    try {
        const auto sample = std::make_shared<CR3>(paths.sample);
        read_sample(*sample);

        const auto damaged = std::make_shared<CR3>(paths.damaged);
        Landmarks found;
        try {
            found = find_landmarks(*damaged);
            if (found.track3 >= found.track4) { // Never so: see docs/compatibility.md, CR3.
                PLATE_MEND_LOG_ERROR("Cr3Repair::AdvanceRepair", "cr3 file repair failed");
                return PLATE_MEND_CR3_LANDMARKS_MISPLACED;
            }
        } catch (const NotFoundException& e) {
            PLATE_MEND_LOG_ERROR("Cr3Repair::AdvanceRepair", "corrupt file can not find box, reason is %s",
                                 e.what());
            return PLATE_MEND_CR3_NOT_FOUND;
        }
        locate_tracks(*damaged, found);

        try {
            damaged->read_corrupt_track1();
            damaged->read_corrupt_track3();
        } catch (const MismatchingException& e) { // Never thrown: see docs/compatibility.md, CR3.
            PLATE_MEND_LOG_ERROR("Cr3Repair::AdvanceRepair",
                                 "corrupt file can not found img data, reason is %s", e.what());
            return PLATE_MEND_CR3_MISMATCH;
        } catch (const VisitingBeyondException& e) {
            PLATE_MEND_LOG_ERROR("Cr3Repair::AdvanceRepair",
                                 "corrupt file can not found img data, reason is %s", e.what());
            return PLATE_MEND_CR3_OUT_OF_RANGE;
        }

        CR3::write_repaired(damaged, sample, paths.output);
    } catch (const IllegalException& e) {
        PLATE_MEND_LOG_ERROR("Cr3Repair::AdvanceRepair", "sample file data corrupted, reason is %s",
                             e.what());
        return PLATE_MEND_CR3_SAMPLE_UNUSABLE;
    } catch (const MismatchingException& e) {
        PLATE_MEND_LOG_ERROR("Cr3Repair::AdvanceRepair", "sample file mdat data corrupted, reason is %s",
                             e.what());
        return PLATE_MEND_CR3_MISMATCH;
    } catch (const OutRangeException& e) {
        PLATE_MEND_LOG_ERROR("Cr3Repair::AdvanceRepair", "search data error, reason is %s", e.what());
        return PLATE_MEND_CR3_OUT_OF_RANGE;
    }
    PLATE_MEND_LOG_INFORMATION("Cr3Repair::AdvanceRepair", "cr3 file advanced repair successfully");
    return 0;
}

std::int32_t Cr3Repair::GeneralRepair(const char* damaged_file, const char* output_file) {
    const std::int32_t result = run_general_repair(damaged_file, output_file);
    if (result != 0) { // Not logged: see docs/compatibility.md, The log.
        return result;
    }
    PLATE_MEND_LOG_INFORMATION("Cr3Repair::GeneralRepair", "cr3 general repair success!");
    return 0;
}

} // namespace plate_mend
