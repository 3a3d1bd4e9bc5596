#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"

#include "support/LosslessJpeg.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"
#include "support/Scene.h"

#include <gmock/gmock.h>

// The head of a real CR2, which holds all its directories, completed with image data made here.

namespace test {
namespace {

using ::testing::ElementsAre;

const RepairLog kLog = repair_log("cr2");

// Where the S90's directories put things.
constexpr std::size_t kExifEntry = 186; // The last of IFD 0: this camera writes no GPSInfo.
constexpr std::size_t kPreview = 18944;
constexpr std::size_t kThumbnail = 11264;
constexpr std::size_t kSmall = 890880;
constexpr std::size_t kSmallSize = 935712;
constexpr std::size_t kRawEntry = 8900;
constexpr std::size_t kRaw = 1826816;
constexpr unsigned kWidth = 3744; // Two slices, of 1848 and 1896.
constexpr unsigned kHeight = 944; // The raw directory does not say; the raw data do.

/// The scene, enlarged eight times under the same filter.
std::vector<std::uint16_t> large_bayer(const Scene& scene) {
    const auto samples = scene.bayer(kWidth / 8, kHeight / 8, 12);
    const auto reduced = [](unsigned place) { return place / 16 * 2 + place % 2; };
    std::vector<std::uint16_t> large;
    large.reserve(std::size_t{kWidth} * kHeight);
    for (unsigned row = 0; row < kHeight; ++row) {
        for (unsigned column = 0; column < kWidth; ++column) {
            large.push_back(samples[std::size_t{reduced(row)} * (kWidth / 8) + reduced(column)]);
        }
    }
    return large;
}

/// Filler up to the raw data, then raw data of a lower picture than the camera's.
Bytes completed(const Bytes& head, unsigned number) {
    const Bytes raw = lossless_jpeg(large_bayer(Scene(number)), kWidth / 2, kHeight, 12, 2);
    return joined(joined(head, noise(kRaw - head.size(), number)), raw);
}

/// The head of a camera that writes GPSInfo as the last entry of IFD 0.
Bytes with_gps(Bytes head) {
    put_u16(head, kExifEntry, 34853, ByteOrder::kLittle);
    return head;
}

Bytes spoiled(Bytes sample) {
    sample = zeroed(sample, kPreview, kPreview + 30);
    sample = zeroed(sample, kThumbnail, kThumbnail + 30);
    return zeroed(sample, kSmall, kSmall + kSmallSize);
}

using Cr2RealFiles = RepairFixture;

TEST_F(Cr2RealFiles, CanonS90IsRepaired) {
    REAL_FILE_OR_SKIP(head, "cr2/canon-s90-head.cr2");
    const Bytes sample = completed(with_gps(head), 1);
    const Bytes original = completed(head, 2);
    const auto picture = decode_raw(original);
    ASSERT_TRUE(picture.has_value());
    ASSERT_EQ(picture->width, kWidth);
    ASSERT_EQ(picture->height, kHeight);
    ASSERT_NE(picture, decode_raw(sample));

    const Bytes damaged = zeroed(original, 0, kRawEntry);
    ASSERT_EQ(decode_raw(damaged), std::nullopt);
    ASSERT_EQ(advance("cr2", damaged, sample), 0);
    EXPECT_EQ(decode_raw(output_path), picture);
    EXPECT_EQ(output(), joined(part(spoiled(sample), 0, kRaw), part(original, kRaw, original.size())));
}

TEST_F(Cr2RealFiles, CanonS90IsFoundThroughItsOwnIntactHead) {
    REAL_FILE_OR_SKIP(head, "cr2/canon-s90-head.cr2");
    // The strip entries of IFD 0 and IFD 2 come first and are skipped.
    const Bytes sample = completed(with_gps(head), 1);
    const Bytes original = completed(head, 2);
    ASSERT_EQ(advance("cr2", original, sample), 0);
    EXPECT_EQ(output(), joined(part(spoiled(sample), 0, kRaw), part(original, kRaw, original.size())));
}

TEST_F(Cr2RealFiles, CanonS90WithoutGpsInfoIsNoSample) {
    REAL_FILE_OR_SKIP(head, "cr2/canon-s90-head.cr2");
    // The tag's bytes are in the thumbnail, and what follows them is no entry.
    const Bytes sample = completed(head, 1);
    EXPECT_EQ(advance("cr2", sample, sample), -1052);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("CR2 sample repaired failed, reason is "
                                                              "Data is illegal")));
    EXPECT_EQ(work_file("temp.cr2"), zeroed(sample, kPreview, kPreview + 30));
}

TEST_F(Cr2RealFiles, CanonS90HeadAloneIsNoSample) {
    REAL_FILE_OR_SKIP(head, "cr2/canon-s90-head.cr2");
    // IFD 2's picture is after the end.
    EXPECT_EQ(advance("cr2", head, with_gps(head)), -1052);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("CR2 sample repaired failed, reason is "
                                                              "Visiting beyond boundaries")));
}

TEST_F(Cr2RealFiles, CanonS90HeadAloneHasNoRawData) {
    REAL_FILE_OR_SKIP(head, "cr2/canon-s90-head.cr2");
    const Bytes sample = completed(with_gps(head), 1);
    EXPECT_EQ(advance("cr2", head, sample), -1054);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("CR2 merge data failed, reason is "
                                                              "Access out of range")));
    EXPECT_EQ(output(), part(spoiled(sample), 0, kRaw));
}

} // namespace
} // namespace test
