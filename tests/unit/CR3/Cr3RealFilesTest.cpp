#include "unit/CR3/Cr3ModelFixture.h"

#include "api/Exceptions.h"
#include "support/RealFiles.h"

#include <gmock/gmock.h>

// Real files of Canon cameras, and where the reading of each as a sample stops. Only one layout is read, and
// these differ from it: their thumbnails are filled up to a multiple of 4 with no word after that, two of
// them have no "free" before "stsz" in tracks 1 to 3, and one has a "free" before "mdat".

namespace plate_mend {
namespace {

using test::put_u32;

constexpr ByteOrder kBig = ByteOrder::kBig;

class Cr3RealSamples : public Cr3ModelFixture {
  protected:
    /// That reading stops at a box of a wrong type, of which the header begins at the offset.
    void expect_stop(const Bytes& file, std::size_t header) {
        const auto cr3 = open(file);
        EXPECT_THROW(read_all(*cr3), IllegalException);
        EXPECT_EQ(cr3->mmap->position(), header + 7);
        EXPECT_EQ(cr3->mdat == nullptr, cr3->preview == nullptr || cr3->preview->get_prvw() == nullptr);
    }

    static Bytes with_number(Bytes file, std::size_t offset, std::uint32_t value) {
        put_u32(file, offset, value, kBig);
        return file;
    }
};

TEST_F(Cr3RealSamples, CanonR6StopsAfterItsThumbnail) {
    REAL_FILE_OR_SKIP(file, "cr3/canon-r6-pruned.cr3");
    // 16005 bytes with 3 of filler, where 1 and a word are skipped: "mvhd" begins at 34296.
    expect_stop(file, 34298);
}

TEST_F(Cr3RealSamples, CanonR6WithItsFillerCountedAsThumbnailStopsAfterItsPreview) {
    REAL_FILE_OR_SKIP(file, "cr3/canon-r6-pruned.cr3");
    const Bytes counted = with_number(file, 18264 + 16, 16008);
    expect_stop(counted, 491626); // 6 bytes of filler, which are none of "PRVW".
    const auto cr3 = open(counted);
    read_boxes(*cr3);
    EXPECT_EQ(cr3->get_track1_offset(), 0x78200U);
    EXPECT_EQ(cr3->get_track2_offset(), 0x163400U);
    EXPECT_EQ(cr3->get_track3_offset(), 0x201600U);
    EXPECT_EQ(cr3->get_track4_offset(), 0x4EA600U);
    EXPECT_EQ(cr3->get_track1_size(), 0xEB073U);
    EXPECT_EQ(cr3->get_track2_size(), 0x9E198U);
    EXPECT_EQ(cr3->get_track3_size(), 0x2E8E10U);
    EXPECT_EQ(cr3->get_track4_size(), 0x1D056U);
}

TEST_F(Cr3RealSamples, CanonR6WithAllFillerCountedStopsAtTheFreeBeforeMdat) {
    REAL_FILE_OR_SKIP(file, "cr3/canon-r6-pruned.cr3");
    expect_stop(with_number(with_number(file, 18264 + 16, 16008), 102152 + 20, 389456), 491632);
}

TEST_F(Cr3RealSamples, CanonEosRStopsAfterItsThumbnail) {
    REAL_FILE_OR_SKIP(file, "cr3/canon-eos-r-head.cr3");
    expect_stop(file, 29030); // 1 byte of filler, where 3 and a word are skipped: "mvhd" begins at 29024.
}

TEST_F(Cr3RealSamples, CanonEosRWithItsFillerCountedStopsAtTheSampleSizesOfTrack1) {
    REAL_FILE_OR_SKIP(file, "cr3/canon-eos-r-head.cr3");
    expect_stop(with_number(file, 12800 + 16, 16200), 29557); // "stsz", where a "free" belongs.
}

TEST_F(Cr3RealSamples, CanonM50StopsInWhatItTakesForTheThumbnail) {
    REAL_FILE_OR_SKIP(file, "cr3/canon-m50-stripped.cr3");
    expect_stop(file, 25784); // The JPEG is gone, its length of 17024 is not.
}

TEST_F(Cr3RealSamples, CanonM50WithTheTrueLengthStopsAtTheSampleSizesOfTrack1) {
    REAL_FILE_OR_SKIP(file, "cr3/canon-m50-stripped.cr3");
    expect_stop(with_number(file, 8736 + 16, 28), 9321);
}

} // namespace
} // namespace plate_mend
