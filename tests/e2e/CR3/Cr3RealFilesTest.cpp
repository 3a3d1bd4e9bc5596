#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"

#include "support/Cr3Photo.h"
#include "support/RealFiles.h"

#include <gmock/gmock.h>

// Real files of Canon cameras, whose image data was taken out. Where they are completed, it is with image
// data made here.

namespace test {
namespace {

using ::testing::ElementsAre;

const RepairLog kLog = repair_log("cr3");
constexpr ByteOrder kBig = ByteOrder::kBig;

const auto kIllegalSample = kLog.failed("sample file data corrupted, reason is Data is illegal");
const auto kNoImage =
    kLog.failed("corrupt file can not found img data, reason is Visiting beyond boundaries");

class Cr3RealFiles : public RepairFixture {
  protected:
    Cr3Photo photo; ///< One that is built here, as the other half of a pair.
};

// As samples, none of them serves as it is.

TEST_F(Cr3RealFiles, NoneIsASampleAsItIs) {
    for (const char* name :
         {"cr3/canon-r6-pruned.cr3", "cr3/canon-eos-r-head.cr3", "cr3/canon-m50-stripped.cr3"}) {
        REAL_FILE_OR_SKIP(file, name);
        reset_stand_ins();
        EXPECT_EQ(advance("cr3", photo.bytes, file), -1095) << name;
        EXPECT_THAT(lines(), ElementsAre(kIllegalSample));
    }
}

/// The R6's head with a 64-bit mdat after it, whose tracks are where its tables say: with gaps between them.
Cr3Photo completed_r6(const Bytes& head, std::uint32_t seed) {
    Cr3Photo r6;
    r6.boxes = {{"CCTP", 94},           {"mdat", 492016},       {"trak1/stsz", 34844}, {"trak2/stsz", 35444},
                {"trak3/stsz", 36060},  {"trak4/stsz", 36501},  {"trak1/co64", 34880}, {"trak2/co64", 35480},
                {"trak3/co64", 36096},  {"trak4/co64", 36536},  {"THMB", 18264},       {"PRVW", 102152},
                {"trak1/entry", 34665}, {"trak3/entry", 35765}, {"trak4/entry", 36373}};
    r6.tracks = {{{0x78200, 0xEB073}, {0x163400, 0x9E198}, {0x201600, 0x2E8E10}, {0x4EA600, 0x1D056}}};
    r6.payload = 492032;
    r6.bytes = joined(head, {0, 0, 0, 1, 'm', 'd', 'a', 't', 0, 0, 0, 0, 0, 0x48, 0xF4, 0x56});
    const std::size_t end = r6.tracks[3].offset + r6.tracks[3].size;
    r6.bytes = joined(r6.bytes, noise(end - r6.payload, seed));
    return r6;
}

TEST_F(Cr3RealFiles, CanonR6WithItsFillerCountedAsPicturesIsASample) {
    REAL_FILE_OR_SKIP(head, "cr3/canon-r6-pruned.cr3");
    Cr3Photo sample = completed_r6(head, 1);
    // The filler after both JPEGs, and the box "free" after the second one, counted as part of them.
    sample.thumbnail = {18264 + 24, 16008};
    sample.preview = {102152 + 24, 389456 + 384};
    put_u32(sample.bytes, sample.at("THMB") + 16, 16008, kBig);
    put_u32(sample.bytes, sample.at("PRVW") + 20, 389456 + 384, kBig);

    const Cr3Photo original = completed_r6(head, 2);
    Bytes damaged = zeroed(original.bytes, 0, original.at("trak1/entry"));
    damaged.push_back(0);
    EXPECT_EQ(advance("cr3", damaged, sample.bytes), 0);
    EXPECT_EQ(output(), expected_cr3(sample, original.track(1), original.track(3)));
}

// As damaged files.

TEST_F(Cr3RealFiles, CanonR6AsADamagedFileHasNoImageData) {
    REAL_FILE_OR_SKIP(head, "cr3/canon-r6-pruned.cr3");
    EXPECT_EQ(advance("cr3", head, photo.bytes), -1094);
    EXPECT_THAT(lines(), ElementsAre(kNoImage));
}

TEST_F(Cr3RealFiles, CanonR6CompletedYieldsItsTracks) {
    REAL_FILE_OR_SKIP(head, "cr3/canon-r6-pruned.cr3");
    const Cr3Photo r6 = completed_r6(head, 3);
    EXPECT_EQ(advance("cr3", r6.bytes, photo.bytes), 0);
    EXPECT_EQ(output(), expected_cr3(photo, r6.track(1), r6.track(3)));
    EXPECT_THAT(lines(), ElementsAre(kLog.repaired));
}

TEST_F(Cr3RealFiles, CanonEosRAsADamagedFileHasNoImageData) {
    REAL_FILE_OR_SKIP(head, "cr3/canon-eos-r-head.cr3");
    EXPECT_EQ(advance("cr3", head, photo.bytes), -1094);
    EXPECT_THAT(lines(), ElementsAre(kNoImage));
}

// These two have the length of a track as the fixed size of "stsz" and no table. The word that is read as the
// table's first entry is the size of the box after it, a "free" of 15 bytes: so much is taken of each track.

TEST_F(Cr3RealFiles, CanonEosRCompletedReturnsFifteenBytesOfEachTrack) {
    REAL_FILE_OR_SKIP(head, "cr3/canon-eos-r-head.cr3");
    constexpr std::size_t kTrack1 = 0x6273A;
    constexpr std::size_t kTrack3 = 0x3B1A72;
    const Bytes whole = joined(head, noise(kTrack3 + 100 - head.size(), 4));
    EXPECT_EQ(advance("cr3", whole, photo.bytes), 0);
    EXPECT_EQ(output(),
              expected_cr3(photo, part(whole, kTrack1, kTrack1 + 15), part(whole, kTrack3, kTrack3 + 15)));
}

TEST_F(Cr3RealFiles, CanonM50ReturnsFifteenBytesOfEachTrack) {
    REAL_FILE_OR_SKIP(file, "cr3/canon-m50-stripped.cr3");
    constexpr std::size_t kTrack1 = 0x2CAD;
    constexpr std::size_t kTrack3 = 0x2CCA;
    EXPECT_EQ(advance("cr3", file, photo.bytes), 0);
    EXPECT_EQ(output(),
              expected_cr3(photo, part(file, kTrack1, kTrack1 + 15), part(file, kTrack3, kTrack3 + 15)));
    EXPECT_THAT(lines(), ElementsAre(kLog.repaired));
}

} // namespace
} // namespace test
