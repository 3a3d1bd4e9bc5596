#include "support/Bytes.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/RafPhoto.h"
#include "support/TempDir.h"

#include <raw_mend/raw_mend.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <vector>

namespace test {
namespace {

namespace fs = std::filesystem;

class RawMendPicturesTest : public ::testing::Test {
  protected:
    /// All pictures of a file.
    std::vector<RawMendPicture> pictures_of(const Bytes& bytes) {
        write_file(file, bytes);
        std::uint32_t count = 77;
        EXPECT_EQ(RawMendPictures(utf8(file).c_str(), nullptr, 0, &count), RAW_MEND_OK);
        std::vector<RawMendPicture> all(count);
        EXPECT_EQ(RawMendPictures(utf8(file).c_str(), all.data(), count, &count), RAW_MEND_OK);
        EXPECT_EQ(all.size(), count);
        return all;
    }

    TempDir folder;
    const fs::path file = folder / "photo";
};

bool begins_like_jpeg(const Bytes& file, const RawMendPicture& picture) {
    return file[static_cast<std::size_t>(picture.offset)] == 0xFF &&
           file[static_cast<std::size_t>(picture.offset) + 1] == 0xD8;
}

TEST_F(RawMendPicturesTest, ListsThoseOfACr2) {
    const Cr2Photo photo;
    const auto pictures = pictures_of(photo.bytes);
    ASSERT_EQ(pictures.size(), 3U);
    unsigned jpegs = 0;
    for (const RawMendPicture& picture : pictures) {
        EXPECT_EQ(picture.reserved, 0U);
        jpegs += picture.coding == RAW_MEND_PICTURE_JPEG ? 1U : 0U;
        EXPECT_EQ(begins_like_jpeg(photo.bytes, picture), picture.coding == RAW_MEND_PICTURE_JPEG);
    }
    EXPECT_EQ(jpegs, 2U);
    EXPECT_TRUE(std::ranges::any_of(pictures, [&](const RawMendPicture& picture) {
        return picture.offset == photo.small_offset && picture.length == photo.small_size &&
               picture.coding == RAW_MEND_PICTURE_OTHER; // 16 bits.
    }));
}

TEST_F(RawMendPicturesTest, ListsThoseOfOtherContainersLargestFirst) {
    for (const Bytes& bytes : {DngPhoto().bytes, RafPhoto().bytes, Cr3Photo({.pictures = true}).bytes}) {
        const auto pictures = pictures_of(bytes);
        ASSERT_FALSE(pictures.empty());
        std::uint64_t last = UINT64_MAX;
        for (const RawMendPicture& picture : pictures) {
            const std::uint64_t pixels = std::uint64_t{picture.width} * picture.height;
            EXPECT_LE(pixels, last);
            last = pixels;
            ASSERT_LE(picture.offset + picture.length, bytes.size());
            EXPECT_EQ(begins_like_jpeg(bytes, picture), picture.coding == RAW_MEND_PICTURE_JPEG);
        }
    }
}

TEST_F(RawMendPicturesTest, FillsAsManyAsThereIsRoomFor) {
    const Cr2Photo photo;
    const auto all = pictures_of(photo.bytes);
    std::uint32_t count = 0;
    std::vector<RawMendPicture> some(2);
    some[1].offset = 77;
    ASSERT_EQ(RawMendPictures(utf8(file).c_str(), some.data(), 1, &count), RAW_MEND_OK);
    EXPECT_EQ(count, all.size());
    EXPECT_EQ(some[0].offset, all[0].offset);
    EXPECT_EQ(some[1].offset, 77U);
}

TEST_F(RawMendPicturesTest, LeavesOutWhatACutFileHasLost) {
    const Cr2Photo photo;
    const auto pictures = pictures_of(part(photo.bytes, 0, photo.small_offset));
    EXPECT_EQ(pictures.size(), 2U);
}

TEST_F(RawMendPicturesTest, RequiresItsArgumentsAndAPhotograph) {
    const std::string name = utf8(file);
    std::uint32_t count = 77;
    EXPECT_EQ(RawMendPictures(name.c_str(), nullptr, 0, nullptr), RAW_MEND_BAD_ARGUMENT);
    EXPECT_EQ(RawMendPictures(nullptr, nullptr, 0, &count), RAW_MEND_BAD_ARGUMENT);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(RawMendPictures(name.c_str(), nullptr, 1, &count), RAW_MEND_BAD_ARGUMENT);
    EXPECT_EQ(RawMendPictures(name.c_str(), nullptr, 0, &count), RAW_MEND_SAMPLE_UNREADABLE);
    fs::create_directory(file);
    EXPECT_EQ(RawMendPictures(name.c_str(), nullptr, 0, &count), RAW_MEND_SAMPLE_UNREADABLE);
    fs::remove(file);
    write_file(file, {});
    EXPECT_EQ(RawMendPictures(name.c_str(), nullptr, 0, &count), RAW_MEND_SAMPLE_UNREADABLE);
    write_file(file, noise(1000, 1));
    EXPECT_EQ(RawMendPictures(name.c_str(), nullptr, 0, &count), RAW_MEND_SAMPLE_NOT_UNDERSTOOD);
    EXPECT_EQ(count, 0U);
}

} // namespace
} // namespace test
