#include <still_mend/still_mend.h>

#include "support/Bytes.h"
#include "support/Jpeg.h"
#include "support/Scene.h"
#include "support/TempDir.h"
#include "support/TiffWriter.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>

namespace test {
namespace {

namespace fs = std::filesystem;

class StillMend : public ::testing::Test {
  protected:
    std::int32_t repair(const Bytes& file) {
        write_file(damaged, file);
        return MndJpegGeneralRepairReport(utf8(damaged).c_str(), utf8(output).c_str(), &report);
    }

    /// What is in the folder, by name.
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder.path())) {
            found.push_back(utf8(entry.path().filename()));
        }
        return found;
    }

    TempDir folder;
    fs::path damaged = folder / "damaged.arw";
    fs::path output = folder / "output.jpg";
    StillMendReport report{};
};

std::size_t data_begin(const Bytes& jpeg) {
    const Bytes sos{0xFF, 0xDA};
    const auto found = std::search(jpeg.begin(), jpeg.end(), sos.begin(), sos.end());
    return static_cast<std::size_t>(found - jpeg.begin()) + 14;
}

TEST_F(StillMend, CopiesAWholePictureAndReportsAllOfIt) {
    const Bytes picture = make_preview(Scene(1), 320, 240);
    const Bytes file = joined(joined(noise(1000, 1), picture), noise(5000, 2));
    EXPECT_EQ(repair(file), STILL_MEND_OK);
    EXPECT_EQ(read_file(output), picture);
    EXPECT_EQ(report.width, 320U);
    EXPECT_EQ(report.height, 240U);
    EXPECT_EQ(report.mcu_count, 20U * 15U);
    EXPECT_EQ(report.own_mcu_count, report.mcu_count);
    EXPECT_EQ(report.coarse_mcu_count, 0U);
    EXPECT_EQ(report.picture_offset, 1000U);
    EXPECT_EQ(report.first_bad_byte, STILL_MEND_NO_BAD_BYTE);
    EXPECT_EQ(report.warnings, 0U);
    EXPECT_THAT(names(), ::testing::UnorderedElementsAre("damaged.arw", "output.jpg"));
}

TEST_F(StillMend, TheShortFormDoesTheSame) {
    const Bytes picture = make_preview(Scene(1), 320, 240);
    write_file(damaged, picture);
    EXPECT_EQ(MndJpegGeneralRepair(utf8(damaged).c_str(), utf8(output).c_str()), STILL_MEND_OK);
    EXPECT_EQ(read_file(output), picture);
}

TEST_F(StillMend, ReportsWhatACutPictureLost) {
    const Bytes picture = make_preview(Scene(1), 320, 240);
    const std::size_t half = (data_begin(picture) + picture.size()) / 2;
    EXPECT_EQ(repair(part(picture, 0, half)), STILL_MEND_OK);
    EXPECT_TRUE(jpeg_decodes(read_file(output)));
    EXPECT_GT(report.own_mcu_count, report.mcu_count / 4);
    EXPECT_LT(report.own_mcu_count, report.mcu_count * 3 / 4);
    EXPECT_LE(report.first_bad_byte, half);
    EXPECT_GE(report.first_bad_byte + 64, half);
    EXPECT_EQ(report.warnings,
              static_cast<unsigned>(STILL_MEND_END_ADDED | STILL_MEND_PARTS_LOST | STILL_MEND_REENCODED));
}

TEST_F(StillMend, DeliversThePictureOfWhichTheMostSurvives) {
    const Bytes large = make_preview(Scene(1), 640, 480);
    const Bytes small = make_preview(Scene(2), 320, 240);
    // A fifth of the large one is less than all of the small one; a half is more.
    const std::size_t begin = data_begin(large);
    const std::size_t size = large.size() - begin;
    EXPECT_EQ(repair(joined(part(large, 0, begin + size / 8), small)), STILL_MEND_OK);
    EXPECT_EQ(report.width, 320U);
    EXPECT_EQ(repair(joined(part(large, 0, begin + size / 2), small)), STILL_MEND_OK);
    EXPECT_EQ(report.width, 640U);
}

TEST_F(StillMend, AThumbnailHasACodeOfItsOwnAndIsDeliveredOnlyIfNothingElseSurvives) {
    const Bytes thumbnail = make_preview(Scene(1), 160, 120);
    EXPECT_EQ(repair(joined(noise(500, 1), thumbnail)), STILL_MEND_ONLY_THUMBNAIL);
    EXPECT_EQ(read_file(output), thumbnail);
    EXPECT_EQ(report.width, 160U);
    const Bytes picture = make_preview(Scene(1), 320, 240);
    const Bytes cut = part(picture, 0, data_begin(picture) + (picture.size() - data_begin(picture)) / 10);
    EXPECT_EQ(repair(joined(joined(noise(500, 1), thumbnail), cut)), STILL_MEND_OK);
    EXPECT_EQ(report.width, 320U);
}

TEST_F(StillMend, ASmallPictureThatIsTheFileIsNoThumbnail) {
    EXPECT_EQ(repair(make_preview(Scene(1), 160, 120)), STILL_MEND_OK);
    EXPECT_EQ(repair(joined(Bytes{0}, make_preview(Scene(1), 160, 120))), STILL_MEND_ONLY_THUMBNAIL);
    EXPECT_EQ(repair(joined(Bytes{0}, make_preview(Scene(1), 168, 120))), STILL_MEND_OK);
}

TEST_F(StillMend, FindsNothingWhereNothingIs) {
    Bytes starts;
    while (starts.size() < 300000) {
        starts.insert(starts.end(), {0xFF, 0xD8, 0xFF});
    }
    for (const Bytes& file : {Bytes{}, Bytes{0xFF}, Bytes{0xFF, 0xD8}, Bytes{0xFF, 0xD8, 0xFF, 0xD9},
                              noise(300000, 3), Bytes(300000, 0), Bytes(300000, 0xFF), starts}) {
        write_file(output, {1, 2, 3});
        EXPECT_EQ(repair(file), STILL_MEND_NOTHING_FOUND) << file.size();
        EXPECT_EQ(read_file(output), (Bytes{1, 2, 3})) << "The output is left alone.";
        EXPECT_EQ(report.width, 0U);
        EXPECT_EQ(report.mcu_count, 0U);
    }
}

TEST_F(StillMend, NoiseUnderAGoodHeaderIsNoPicture) {
    const Bytes picture = make_preview(Scene(1), 640, 480);
    const Bytes header = part(picture, 0, data_begin(picture));
    for (const unsigned seed : {1U, 2U, 3U, 4U}) {
        EXPECT_EQ(repair(joined(header, noise(60000, seed))), STILL_MEND_NOTHING_FOUND) << seed;
    }
    EXPECT_EQ(repair(joined(header, Bytes(60000, 0))), STILL_MEND_NOTHING_FOUND);
}

TEST_F(StillMend, ReadsHeadersNestedInHeadersInLinearTime) {
    const Bytes picture = make_preview(Scene(1), 320, 240);
    const Bytes header = part(picture, 0, data_begin(picture));
    Bytes file;
    while (file.size() < 2'000'000) {
        file.insert(file.end(), header.begin(), header.end());
    }
    EXPECT_EQ(repair(file), STILL_MEND_NOTHING_FOUND);
}

TEST_F(StillMend, TheInputMustBeAFileThatIsThere) {
    const std::string out = utf8(output);
    EXPECT_EQ(MndJpegGeneralRepair(utf8(folder / "none.arw").c_str(), out.c_str()),
              STILL_MEND_INPUT_UNREADABLE);
    EXPECT_EQ(MndJpegGeneralRepair(utf8(folder.path()).c_str(), out.c_str()), STILL_MEND_INPUT_UNREADABLE);
    EXPECT_EQ(MndJpegGeneralRepair("", out.c_str()), STILL_MEND_INPUT_UNREADABLE);
    EXPECT_EQ(MndJpegGeneralRepair(nullptr, out.c_str()), STILL_MEND_INPUT_UNREADABLE);
    EXPECT_FALSE(fs::exists(output));
}

TEST_F(StillMend, TheOutputMustBeWritable) {
    write_file(damaged, make_preview(Scene(1), 320, 240));
    const std::string in = utf8(damaged);
    EXPECT_EQ(MndJpegGeneralRepair(in.c_str(), utf8(folder / "none" / "output.jpg").c_str()),
              STILL_MEND_OUTPUT_UNWRITABLE);
    EXPECT_EQ(MndJpegGeneralRepair(in.c_str(), utf8(folder.path()).c_str()), STILL_MEND_OUTPUT_UNWRITABLE);
    EXPECT_EQ(MndJpegGeneralRepair(in.c_str(), ""), STILL_MEND_OUTPUT_UNWRITABLE);
    EXPECT_EQ(MndJpegGeneralRepair(in.c_str(), nullptr), STILL_MEND_OUTPUT_UNWRITABLE);
    EXPECT_THAT(names(), ::testing::ElementsAre("damaged.arw"));
}

TEST_F(StillMend, ReplacesAnOlderOutput) {
    const Bytes picture = make_preview(Scene(1), 320, 240);
    write_file(output, noise(100000, 1));
    EXPECT_EQ(repair(picture), STILL_MEND_OK);
    EXPECT_EQ(read_file(output), picture);
}

TEST_F(StillMend, TakesPathsInUtf8) {
    const Bytes picture = make_preview(Scene(1), 320, 240);
    const fs::path in = folder / fs::path(u8"bild \u00FC\u4E2D.arw");
    const fs::path out = folder / fs::path(u8"bild \u00FC\u4E2D.jpg");
    write_file(in, picture);
    EXPECT_EQ(MndJpegGeneralRepair(utf8(in).c_str(), utf8(out).c_str()), STILL_MEND_OK);
    EXPECT_EQ(read_file(out), picture);
}

/// A RAW file with one preview that lost its end, so that it is coded anew.
Bytes raw_with_cut_preview(ByteOrder order) {
    TiffWriter writer(order);
    writer.write_header();
    const TiffDirectory first = writer.write_directory(
        {writer.ascii(271, "ACME"), writer.ascii(272, "ACME MODEL 7"), writer.longs(273, {123456}),
         writer.shorts(274, {6}), writer.ascii(306, "2024:05:17 18:32:05"), writer.longs(34665, {0})});
    writer.set_value(first, 34665, writer.offset());
    writer.write_directory({writer.ascii(36867, "2024:05:16 07:01:02"), writer.longs(37500, {987654})});
    const Bytes picture = make_preview(Scene(1), 320, 240);
    writer.append(part(picture, 0, picture.size() * 2 / 3));
    return writer.bytes();
}

bool contains(const Bytes& bytes, std::string_view text) {
    return std::search(bytes.begin(), bytes.end(), text.begin(), text.end(), [](unsigned char a, char b) {
               return a == static_cast<unsigned char>(b);
           }) != bytes.end();
}

TEST_F(StillMend, CarriesMakeModelDateAndOrientationIntoASmallExif) {
    for (const ByteOrder order : {ByteOrder::kLittle, ByteOrder::kBig}) {
        EXPECT_EQ(repair(raw_with_cut_preview(order)), STILL_MEND_OK);
        const Bytes written = read_file(output);
        EXPECT_TRUE(jpeg_decodes(written));
        ASSERT_EQ(part(written, 2, 4), (Bytes{0xFF, 0xE1}));
        const std::size_t length = get_u16(written, 4, ByteOrder::kBig);
        const Bytes exif = part(written, 6, 4 + length);
        ASSERT_EQ(part(exif, 0, 6), (Bytes{'E', 'x', 'i', 'f', 0, 0}));
        const Bytes tiff = part(exif, 6, exif.size());
        EXPECT_TRUE(contains(tiff, "ACME MODEL 7"));
        EXPECT_TRUE(contains(tiff, "2024:05:17 18:32:05"));
        EXPECT_TRUE(contains(tiff, "2024:05:16 07:01:02"));
        // Make, model, orientation, date and the link to the second directory; no strip, no maker notes.
        ASSERT_EQ(get_u16(tiff, 8, ByteOrder::kLittle), 5U);
        std::vector<unsigned> tags;
        for (std::size_t entry = 0; entry < 5; ++entry) {
            tags.push_back(get_u16(tiff, 10 + 12 * entry, ByteOrder::kLittle));
        }
        EXPECT_THAT(tags, ::testing::ElementsAre(271U, 272U, 274U, 306U, 34665U));
        EXPECT_EQ(get_u16(tiff, 10 + 24 + 8, ByteOrder::kLittle), 6U);
        const std::size_t second = get_u32(tiff, 10 + 48 + 8, ByteOrder::kLittle);
        EXPECT_EQ(get_u16(tiff, second, ByteOrder::kLittle), 1U);
        EXPECT_EQ(get_u16(tiff, second + 2, ByteOrder::kLittle), 36867U);
    }
}

TEST_F(StillMend, DamageAtEveryPlaceOfTheHeaderEndsWell) {
    const Bytes picture = make_preview(Scene(1), 64, 48);
    const Bytes file = joined(picture, make_preview(Scene(2), 48, 32));
    for (std::size_t place = 0; place < data_begin(picture) + 8; place += 3) {
        Bytes broken = file;
        broken[place] = static_cast<unsigned char>(broken[place] ^ 0xFFU);
        const std::int32_t result = repair(broken);
        EXPECT_TRUE(result == STILL_MEND_OK || result == STILL_MEND_ONLY_THUMBNAIL)
            << place << ": " << result;
        EXPECT_TRUE(jpeg_decodes(read_file(output))) << place;
    }
}

TEST_F(StillMend, ATruncationAtEveryLengthEndsWell) {
    const Bytes picture = make_preview(Scene(1), 64, 48);
    for (std::size_t length = 0; length < picture.size(); length += 7) {
        fs::remove(output);
        const std::int32_t result = repair(part(picture, 0, length));
        EXPECT_TRUE(result == STILL_MEND_OK || result == STILL_MEND_NOTHING_FOUND)
            << length << ": " << result;
        EXPECT_EQ(result == STILL_MEND_OK, fs::exists(output)) << length;
        EXPECT_TRUE(result != STILL_MEND_OK || jpeg_decodes(read_file(output))) << length;
    }
}

} // namespace
} // namespace test
