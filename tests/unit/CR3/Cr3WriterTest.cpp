#include "unit/CR3/Cr3ModelFixture.h"

#include "api/Exceptions.h"

#include <gmock/gmock.h>

#include <array>

namespace plate_mend {
namespace {

using test::joined;
using test::part;
using ::testing::ElementsAre;

constexpr ByteOrder kBig = ByteOrder::kBig;

using Cr3Writer = Cr3ModelFixture;

TEST_F(Cr3Writer, SampleWithItsOwnTracksDiffersOnlyInTheHeadsOfItsJpegs) {
    // A sum that is a multiple of 4, so no padding.
    const Cr3Photo photo(Cr3Photo::Options{.thumbnail = 400, .tracks = {1000, 301, 2002, 77}});
    Bytes expected = test::zeroed(photo.bytes, photo.thumbnail.offset, photo.thumbnail.offset + 30);
    expected = test::zeroed(expected, photo.preview.offset, photo.preview.offset + 30);
    EXPECT_EQ(repaired_with_itself(photo), expected);
}

TEST_F(Cr3Writer, TracksOfTheSampleLengthsLeaveAllNumbers) {
    const Cr3Photo photo;
    const auto sample = read(photo.bytes);
    const Bytes track1 = test::noise(photo.tracks[0].size, 70);
    const Bytes track3 = test::noise(photo.tracks[2].size, 71);
    const Bytes out = write(damaged_with(track1, track3), sample);
    Bytes expected = photo.bytes;
    test::put_bytes(expected, photo.tracks[0].offset, track1);
    test::put_bytes(expected, photo.tracks[2].offset, track3);
    EXPECT_EQ(out, expected);
}

TEST_F(Cr3Writer, LongerTrack1AndShorterTrack3MoveWhatIsAfterThem) {
    const Cr3Photo photo;
    const auto sample = read(photo.bytes);
    std::array<std::uint32_t, 5> before{};
    for (unsigned n = 1; n <= 4; ++n) {
        before[n] = sample->get_track_offset(n);
    }
    const Bytes track1 = test::noise(photo.tracks[0].size + 100, 70);
    const Bytes track3 = test::noise(photo.tracks[2].size - 40, 71);
    const Bytes out = write(damaged_with(track1, track3), sample);
    EXPECT_EQ(sample->get_track_offset(1), before[1]);
    EXPECT_EQ(sample->get_track_offset(2), before[2] + 100);
    EXPECT_EQ(sample->get_track_offset(3), before[3] + 100);
    EXPECT_EQ(sample->get_track_offset(4), before[4] + 60);
    Cr3Photo unblanked = photo;
    EXPECT_EQ(part(out, photo.payload, out.size()),
              part(expected_cr3(unblanked, track1, track3), photo.payload, out.size()));
}

TEST_F(Cr3Writer, PaddingIsMadeForTheNewSum) {
    // A multiple of 4 in the sample, 2 more in the repair.
    for (const bool large : {true, false}) {
        const Cr3Photo photo(Cr3Photo::Options{.tracks = {10, 20, 30, 40}, .large_mdat = large});
        const auto sample = read(photo.bytes);
        EXPECT_TRUE(sample->mdat->get_padding().empty());
        const Bytes out = write(damaged_with(Bytes(12, 1), Bytes(30, 3)), sample);
        EXPECT_EQ(sample->mdat->get_padding(), Bytes(2));
        EXPECT_EQ(out.size(), photo.payload + 102 + 2);
        EXPECT_THAT(part(out, out.size() - 2, out.size()), ElementsAre(0, 0));
        const std::size_t mdat = photo.at("mdat");
        EXPECT_EQ(test::get_u32(out, large ? mdat + 12 : mdat, kBig), (large ? 16U : 8U) + 102 + 2);
        EXPECT_EQ(test::get_u32(out, mdat, kBig), large ? 1U : 112U);
    }
}

TEST_F(Cr3Writer, PaddingOfTheSampleIsReplacedByNone) {
    const Cr3Photo photo(Cr3Photo::Options{.tracks = {11, 20, 30, 40}});
    const auto sample = read(photo.bytes);
    EXPECT_EQ(sample->mdat->get_padding(), Bytes(1));
    const Bytes out = write(damaged_with(Bytes(10, 1), Bytes(30, 3)), sample);
    EXPECT_TRUE(sample->mdat->get_padding().empty());
    EXPECT_EQ(out.size(), photo.payload + 100);
}

TEST_F(Cr3Writer, EverySumModuloFourAgreesWithTheSecondWriting) {
    for (const bool large : {true, false}) {
        for (std::size_t more = 0; more < 8; ++more) {
            Cr3Photo photo(Cr3Photo::Options{.thumbnail = 40 + more,
                                             .tracks = {10, 20, 30, 40},
                                             .gaps = {more, 0, more, 1},
                                             .after_tracks = more,
                                             .large_mdat = large});
            const Bytes track1 = test::noise(9 + more, 70);
            const Bytes track3 = test::noise(31, 71);
            const auto sample = read(photo.bytes);
            sample->blank_previews();
            EXPECT_EQ(write(damaged_with(track1, track3), sample), expected_cr3(photo, track1, track3));
        }
    }
}

TEST_F(Cr3Writer, HighWordOfALargeSizeStaysAsRead) {
    Cr3Photo photo;
    test::put_u32(photo.bytes, photo.at("mdat") + 8, 0x01020304, kBig);
    const Bytes out = repaired_with_itself(photo);
    EXPECT_EQ(test::get_u32(out, photo.at("mdat"), kBig), 1U);
    EXPECT_EQ(test::get_u32(out, photo.at("mdat") + 8, kBig), 0x01020304U);
    EXPECT_EQ(out, expected_cr3(photo, photo.track(1), photo.track(3)));
}

TEST_F(Cr3Writer, TracksMayBeEmpty) {
    const Cr3Photo photo;
    const auto sample = read(photo.bytes);
    sample->blank_previews();
    EXPECT_EQ(write(damaged_with({}, {}), sample), expected_cr3(photo, {}, {}));
}

TEST_F(Cr3Writer, NumbersWrapAt32Bits) {
    const Cr3Photo photo(Cr3Photo::Options{.tracks = {10, 20, 30, 40}, .large_mdat = false});
    const auto sample = read(photo.bytes);
    const auto payload = static_cast<std::uint32_t>(photo.payload);
    const auto damaged = damaged_with({}, {});
    damaged->set_corrupt_track1_size(0xFFFFFFFF); // One less than nothing.
    damaged->set_corrupt_track3_size(0xFFFFFFFE);
    write(damaged, sample);
    EXPECT_EQ(sample->get_track_offset(2), payload - 1);
    EXPECT_EQ(sample->get_track_offset(3), payload - 1 + 20);
    EXPECT_EQ(sample->get_track_offset(4), payload - 3 + 20);
    EXPECT_EQ(sample->mdat->get_padding(), Bytes(1)); // After 57 bytes.
    EXPECT_EQ(sample->mdat->get_size(), 57U + 1 + 8);
}

TEST_F(Cr3Writer, AppendsToWhatIsThere) {
    const Cr3Photo photo;
    const auto sample = read(photo.bytes);
    test::write_file(folder / "there.cr3", {1, 2, 3});
    CR3::write_repaired(damaged_with(photo.track(1), photo.track(3)), sample, folder / "there.cr3");
    EXPECT_EQ(test::read_file(folder / "there.cr3"), joined({1, 2, 3}, photo.bytes));
}

TEST_F(Cr3Writer, OutputThatDoesNotOpenIsVisitingBeyondAfterTheNumbersAreFitted) {
    const Cr3Photo photo;
    const auto sample = read(photo.bytes);
    const auto damaged = damaged_with({1}, {3});
    EXPECT_THROW(CR3::write_repaired(damaged, sample, folder / "missing" / "output.cr3"),
                 VisitingBeyondException);
    EXPECT_EQ(sample->get_track_size(1), 1U);
    EXPECT_EQ(sample->get_track_size(3), 1U);
}

} // namespace
} // namespace plate_mend
