#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"

#include "support/RafPhoto.h"
#include "support/RealFiles.h"

#include <gmock/gmock.h>

// A real file of a Fujifilm S5Pro, whose raw section is of the older kind: there is no TIFF header in it.

namespace test {
namespace {

using ::testing::ElementsAre;

const RepairLog kLog = repair_log("raf");

// Its Exif.
constexpr std::size_t kThumbnail = 0xA90;
constexpr std::size_t kThumbnailSize = 9362;
// Its first DHT after the thumbnail, and the next DQT, which is that of a further preview.
constexpr std::size_t kDht = 0x2FBB;
constexpr std::size_t kDqt = 0x59DE;

using RafRealFiles = RepairFixture;

TEST_F(RafRealFiles, FujifilmS5ProHasOneTiffHeaderAndIsNoSample) {
    REAL_FILE_OR_SKIP(photo, "raf/fuji-s5pro-stripped.raf");
    EXPECT_EQ(advance("raf", RafPhoto().bytes, photo), -1154);
    EXPECT_THAT(lines(),
                ElementsAre(kLog.cloned, kLog.failed("sample file catch NotFoundException, reason is "
                                                     "Data can not found")));
    EXPECT_EQ(work_file("temp.raf"), photo);
}

TEST_F(RafRealFiles, FujifilmS5ProHasNoStripEntriesToBeRepairedBy) {
    REAL_FILE_OR_SKIP(photo, "raf/fuji-s5pro-stripped.raf");
    EXPECT_EQ(advance("raf", photo, RafPhoto().bytes), -1153);
    EXPECT_THAT(lines(),
                ElementsAre(kLog.cloned, kLog.failed("corrupted file catch NotFoundExcepton, reason is "
                                                     "Data can not found")));
}

TEST_F(RafRealFiles, FujifilmS5ProWithARawSectionOfTheNewerKindIsASample) {
    REAL_FILE_OR_SKIP(photo, "raf/fuji-s5pro-stripped.raf");
    const RafPhoto raw(RafPhoto::Options{.number = 1});
    const RafPhoto damaged(RafPhoto::Options{.number = 2});
    const Bytes sample = joined(photo, part(raw.bytes, raw.second_header, raw.bytes.size()));
    const std::size_t section = photo.size();
    EXPECT_EQ(advance("raf", zeroed(damaged.bytes, 0, damaged.second_header), sample), 0);

    Bytes expected = part(sample, 0, section + raw.image_offset - raw.second_header);
    expected = zeroed(expected, kThumbnail, kThumbnail + kThumbnailSize);
    expected = zeroed(expected, kDht, kDqt + 2);
    EXPECT_EQ(output(), joined(expected, part(damaged.bytes, damaged.image_offset, damaged.bytes.size())));

    const auto tools_line = [](const char* text) {
        return ErrorLine("src/RAF/RafTools.cpp", "RAF::deal_high_jpg_data", text);
    };
    EXPECT_THAT(lines(),
                ElementsAre(kLog.cloned, tools_line("sample file has no xpacket, continue next step"),
                            tools_line("sample file has no special flag, continue next step"),
                            kLog.repaired));
}

} // namespace
} // namespace test
