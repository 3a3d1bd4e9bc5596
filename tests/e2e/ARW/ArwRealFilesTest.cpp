#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"

#include "support/RawDecode.h"
#include "support/RealFiles.h"
#include "support/TiffWriter.h"

#include <gmock/gmock.h>

// Real files of Sony cameras. Their heads are completed with image data made here.

namespace test {
namespace {

using ::testing::ElementsAre;

const RepairLog kLog = repair_log("arw");

// The A330's head. IFD 0 and IFD 1 are its whole chain; its Sub IFD is at 92704.
constexpr std::size_t kA330StripEntries = 92922;
constexpr std::size_t kA330Image = 688128;
constexpr std::size_t kA330ImageSize = 8883620;
constexpr std::size_t kA330Preview = 155683;
constexpr std::size_t kA330Thumbnail = 32770;

/// Filler up to where the directories put the image, then image data.
Bytes completed(const Bytes& head, std::size_t image, std::size_t image_size, std::uint32_t seed) {
    Bytes photo = joined(head, noise(image - head.size(), seed));
    return joined(photo, noise(image_size, seed + 100));
}

using ArwRealFiles = RepairFixture;

TEST_F(ArwRealFiles, SonyA330IsRepaired) {
    REAL_FILE_OR_SKIP(head, "arw/sony-a330-head.arw");
    const Bytes sample = completed(head, kA330Image, kA330ImageSize, 1);
    const Bytes original = completed(head, kA330Image, kA330ImageSize, 2);
    const auto picture = decode_raw(original);
    ASSERT_TRUE(picture.has_value());
    ASSERT_NE(picture, decode_raw(sample));

    const Bytes damaged = zeroed(original, 0, kA330StripEntries);
    ASSERT_EQ(decode_raw(damaged), std::nullopt);
    ASSERT_EQ(advance("arw", damaged, sample), 0);
    EXPECT_EQ(decode_raw(output_path), picture);

    // A chain of two directories: the third preview is found by the search that begins at the header, and
    // is the first one again.
    Bytes expected = zeroed(part(sample, 0, kA330Image), kA330Preview, kA330Preview + 30);
    expected = zeroed(expected, kA330Thumbnail, kA330Thumbnail + 30);
    EXPECT_EQ(output(), joined(expected, part(damaged, kA330Image, damaged.size())));
}

TEST_F(ArwRealFiles, SonyA330HeadAloneIsNoSample) {
    REAL_FILE_OR_SKIP(head, "arw/sony-a330-head.arw");
    // All directories are there, but IFD 0's preview is after the end.
    EXPECT_EQ(advance("arw", head, head), -1123);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.failed("sample offset error is Access out of range")));
}

TEST_F(ArwRealFiles, SonyA7M3HeadEndsBeforeItsIfd1) {
    REAL_FILE_OR_SKIP(head, "arw/sony-a7m3-head.arw");
    EXPECT_EQ(advance("arw", head, head), -1123); // IFD 1 would bound the search in IFD 0.
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned,
                                     kLog.failed("sample parameter error is Visiting beyond boundaries")));
}

TEST_F(ArwRealFiles, SonyA7M3FilledWithZerosHasNoStripEntries) {
    REAL_FILE_OR_SKIP(head, "arw/sony-a7m3-head.arw");
    // Long enough for all that IFD 0 names: the Sub IFD at 133316 is found, empty, and nothing after it.
    EXPECT_EQ(advance("arw", head, joined(head, Bytes(200000))), -1126);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned));
}

TEST_F(ArwRealFiles, SonyZvE10HeadEndsBeforeItsSubIfd) {
    REAL_FILE_OR_SKIP(head, "arw/sony-zv-e10-head.arw");
    EXPECT_EQ(advance("arw", head, head), -1123);
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned,
                                     kLog.failed("sample parameter error is Visiting beyond boundaries")));
}

TEST_F(ArwRealFiles, SonyZvE10WithASubIfdOfItsKindIsASample) {
    REAL_FILE_OR_SKIP(head, "arw/sony-zv-e10-head.arw");
    // IFD 1 is the last of the chain here, as in the A330. Filler, a Sub IFD with the three entries at the
    // place that IFD 0 names, filler, an image.
    constexpr std::size_t kSubIfd = 116362;
    constexpr std::size_t kImage = 800000;
    const auto complete = [&head](std::uint32_t seed) {
        Bytes photo = joined(head, Bytes(kImage - head.size()));
        put_u16(photo, kSubIfd, 3, ByteOrder::kLittle);
        std::size_t entry = kSubIfd + 2;
        for (const auto& [tag, value] :
             {std::pair{273U, static_cast<unsigned>(kImage)}, {278U, 100U}, {279U, 1000U}}) {
            put_bytes(photo, entry, entry_bytes(static_cast<std::uint16_t>(tag), 4, 1, value));
            entry += 12;
        }
        return joined(photo, noise(1000, seed));
    };
    const Bytes sample = complete(1);
    const Bytes damaged = zeroed(complete(2), 0, kSubIfd);
    EXPECT_EQ(advance("arw", damaged, sample), 0);
    // The previews of IFD 0 and IFD 1, at the offsets that the head's directories name.
    Bytes expected = zeroed(part(sample, 0, kImage), 118946, 118976);
    expected = zeroed(expected, 43302, 43332);
    EXPECT_EQ(output(), joined(expected, part(damaged, kImage, damaged.size())));
}

} // namespace
} // namespace test
