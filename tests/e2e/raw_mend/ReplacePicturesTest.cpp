#include "support/ArwPhoto.h"
#include "support/Bytes.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/Jpeg.h"
#include "support/NefPhoto.h"
#include "support/RafPhoto.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"
#include "support/Scene.h"
#include "support/TempDir.h"

#include <raw_mend/raw_mend.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

namespace test {
namespace {

namespace fs = std::filesystem;

/// A file with pictures, and a copy of it with other ones.
class RawMendReplacePicturesTest : public ::testing::Test {
  protected:
    /// All pictures of a file.
    static std::vector<RawMendPicture> pictures_of(const fs::path& path) {
        std::uint32_t count = 0;
        EXPECT_EQ(RawMendPictures(utf8(path).c_str(), nullptr, 0, &count), RAW_MEND_OK);
        std::vector<RawMendPicture> all(count);
        EXPECT_EQ(RawMendPictures(utf8(path).c_str(), all.data(), count, &count), RAW_MEND_OK);
        return all;
    }

    static Bytes bytes_of(const Bytes& whole, const RawMendPicture& picture) {
        return part(whole, static_cast<std::size_t>(picture.offset),
                    static_cast<std::size_t>(picture.offset + picture.length));
    }

    /// Whether a picture is inside another one, as the thumbnail in a JPEG's Exif.
    static bool is_nested(const std::vector<RawMendPicture>& pictures, std::size_t index) {
        const RawMendPicture& inner = pictures[index];
        return std::ranges::any_of(pictures, [&](const RawMendPicture& outer) {
            return outer.offset < inner.offset && inner.offset < outer.offset + outer.length;
        });
    }

    std::int32_t replace(const std::vector<RawMendPictureData>& data) const {
        return RawMendReplacePictures(utf8(file).c_str(), data.data(),
                                      static_cast<std::uint32_t>(data.size()), utf8(output).c_str());
    }

    /// What a JPEG becomes that replaces another one: one with the other's Exif, if that has any.
    static Bytes with_exif_of(const Bytes& old, const Bytes& jpeg) {
        const Bytes exif{0xFF, 0xE1};
        if (!std::equal(exif.begin(), exif.end(), old.begin() + 2)) {
            return jpeg;
        }
        const std::size_t end = 4 + std::size_t{get_u16(old, 4, ByteOrder::kBig)};
        return joined(part(old, 0, end), part(jpeg, 2, jpeg.size()));
    }

    /// Whether these are the bytes, with nothing but zeros after them.
    static bool begins_with(const Bytes& bytes, const Bytes& wanted) {
        return bytes.size() >= wanted.size() && std::ranges::equal(wanted, part(bytes, 0, wanted.size())) &&
               std::ranges::all_of(part(bytes, wanted.size(), bytes.size()),
                                   [](unsigned char byte) { return byte == 0; });
    }

    /// Replaces one picture, and checks the copy: it has these bytes, and all else as it was.
    void expect_replaced(const Bytes& whole, std::size_t index, const Bytes& bytes) const {
        const auto before = pictures_of(file);
        std::vector<RawMendPictureData> data(before.size());
        data[index] = {bytes.data(), bytes.size()};
        ASSERT_EQ(replace(data), RAW_MEND_OK);
        const Bytes copy = read_file(output);
        std::vector<Bytes> found;
        for (const RawMendPicture& picture : pictures_of(output)) {
            found.push_back(bytes_of(copy, picture));
        }
        const RawMendPicture& old = before[index];
        const Bytes wanted = with_exif_of(bytes_of(whole, old), bytes);
        EXPECT_TRUE(std::ranges::any_of(found, [&](const Bytes& picture) {
            return begins_with(picture, wanted) &&
                   picture.size() <= std::max<std::uint64_t>(wanted.size(), old.length);
        }));
        for (const RawMendPicture& other : before) {
            const bool apart =
                other.offset >= old.offset + old.length || old.offset >= other.offset + other.length;
            if (apart) {
                EXPECT_THAT(found, ::testing::Contains(bytes_of(whole, other)));
            }
        }
        EXPECT_EQ(decode_raw(copy), decode_raw(whole));
        fs::remove(output);
    }

    /// The same for each JPEG of a photograph, with one that is longer and one that is shorter.
    void expect_jpegs_replaced(const Bytes& whole) const {
        write_file(file, whole);
        const auto pictures = pictures_of(file);
        unsigned jpegs = 0;
        for (std::size_t index = 0; index < pictures.size(); ++index) {
            if (pictures[index].coding != RAW_MEND_PICTURE_JPEG) {
                continue;
            }
            ++jpegs;
            SCOPED_TRACE("picture " + std::to_string(index));
            const Bytes old = bytes_of(whole, pictures[index]);
            if (!is_nested(pictures, index)) {
                expect_replaced(whole, index, joined(make_preview(Scene(7), 64, 48), noise(old.size(), 1)));
            }
            const Bytes shorter = make_preview(Scene(7), 8, 8);
            ASSERT_LT(shorter.size(), old.size());
            expect_replaced(whole, index, shorter);
            Bytes same = noise(old.size(), 1);
            put_bytes(same, 0, {0xFF, 0xD8});
            expect_replaced(whole, index, same);
        }
        EXPECT_GT(jpegs, 0U);
    }

    TempDir folder;
    const fs::path file = folder / "photo";
    const fs::path output = folder / "copy";
};

TEST_F(RawMendReplacePicturesTest, ReplacesTheJpegsOfAllContainers) {
    for (const Bytes& whole :
         {ArwPhoto().bytes, ArwPhoto({.order = ByteOrder::kBig}).bytes, Cr2Photo().bytes, DngPhoto().bytes,
          NefPhoto().bytes, RafPhoto().bytes, Cr3Photo({.pictures = true}).bytes}) {
        expect_jpegs_replaced(whole);
    }
}

TEST_F(RawMendReplacePicturesTest, ReplacesRgbByAsManyBytes) {
    const NefPhoto photo;
    write_file(file, photo.bytes);
    const auto pictures = pictures_of(file);
    const auto rgb =
        std::ranges::find(pictures, std::uint32_t{RAW_MEND_PICTURE_RGB}, &RawMendPicture::coding);
    ASSERT_NE(rgb, pictures.end());
    EXPECT_EQ(rgb->offset, photo.thumbnail_offset);
    EXPECT_EQ(rgb->length, photo.thumbnail_size);
    const auto index = static_cast<std::size_t>(rgb - pictures.begin());
    expect_replaced(photo.bytes, index, noise(photo.thumbnail_size, 1));
    for (const std::uint64_t length : {photo.thumbnail_size - 1, photo.thumbnail_size + 1, 0U}) {
        const Bytes bytes(static_cast<std::size_t>(length) + 1);
        std::vector<RawMendPictureData> data(pictures.size());
        data[index] = {bytes.data(), length};
        EXPECT_EQ(replace(data), RAW_MEND_BAD_ARGUMENT);
    }
    EXPECT_FALSE(fs::exists(output));
}

TEST_F(RawMendReplacePicturesTest, CopiesTheFileIfNoneIsGiven) {
    const Bytes whole = Cr2Photo().bytes;
    write_file(file, whole);
    EXPECT_EQ(replace(std::vector<RawMendPictureData>(pictures_of(file).size())), RAW_MEND_OK);
    EXPECT_EQ(read_file(output), whole);
}

/// A JPEG with Exif: a byte order, an offset and one directory that names the camera.
Bytes jpeg_with_exif(const Bytes& jpeg, const RafPhoto& photo) {
    const std::size_t segment = photo.jpeg + 2;
    const Bytes exif =
        part(photo.bytes, segment, segment + 2 + get_u16(photo.bytes, segment + 2, ByteOrder::kBig));
    return joined(joined(part(jpeg, 0, 2), exif), part(jpeg, 2, jpeg.size()));
}

TEST_F(RawMendReplacePicturesTest, PictureInsideAnotherGoesWithIt) {
    const RafPhoto photo; // The Exif of its JPEG has a thumbnail.
    write_file(file, photo.bytes);
    const auto pictures = pictures_of(file);
    ASSERT_EQ(pictures.size(), 2U);
    ASSERT_EQ(pictures[1].offset, photo.thumb);
    const RafPhoto other({.number = 2, .maker_notes = 200});
    const Bytes outer = jpeg_with_exif(make_preview(Scene(7), 160, 120), other);
    const Bytes inner = make_preview(Scene(8), 8, 8);
    ASSERT_LE(inner.size(), pictures[1].length);
    ASSERT_EQ(replace({{outer.data(), outer.size()}, {inner.data(), inner.size()}}), RAW_MEND_OK);
    const Bytes copy = read_file(output);
    ASSERT_EQ(pictures_of(output).size(), 2U);
    EXPECT_EQ(bytes_of(copy, pictures_of(output)[0]), outer);
    EXPECT_EQ(decode_raw(copy), decode_raw(photo.bytes));
}

TEST_F(RawMendReplacePicturesTest, PictureInsideKeptExifIsReplacedByOneThatFits) {
    const RafPhoto photo;
    write_file(file, photo.bytes);
    const auto pictures = pictures_of(file);
    ASSERT_EQ(pictures.size(), 2U);
    const Bytes outer = make_preview(Scene(7), 160, 120);
    const auto thumbnail_after = [&](const Bytes& inner) {
        EXPECT_EQ(replace({{outer.data(), outer.size()}, {inner.data(), inner.size()}}), RAW_MEND_OK);
        const Bytes copy = read_file(output);
        EXPECT_EQ(decode_raw(copy), decode_raw(photo.bytes));
        const auto after = pictures_of(output);
        fs::remove(output);
        EXPECT_EQ(after.size(), 2U);
        EXPECT_TRUE(jpeg_decodes(bytes_of(copy, after[0])));
        return bytes_of(copy, after[1]);
    };
    const Bytes small = make_preview(Scene(8), 8, 8);
    ASSERT_LE(small.size(), pictures[1].length);
    EXPECT_EQ(thumbnail_after(small), small);
    const Bytes large = joined(small, noise(static_cast<std::size_t>(pictures[1].length), 1));
    EXPECT_EQ(thumbnail_after(large), bytes_of(photo.bytes, pictures[1]));
    EXPECT_EQ(thumbnail_after({}), bytes_of(photo.bytes, pictures[1])) << "kept";
}

TEST_F(RawMendReplacePicturesTest, RequiresDataThatCanReplaceThePictures) {
    const Cr2Photo photo;
    write_file(file, photo.bytes);
    const auto pictures = pictures_of(file);
    const Bytes jpeg = make_preview(Scene(7), 16, 8);
    const auto code_with = [&](std::size_t index, const Bytes& bytes) {
        std::vector<RawMendPictureData> data(pictures.size());
        data[index] = {bytes.data(), bytes.size()};
        return replace(data);
    };
    for (std::size_t index = 0; index < pictures.size(); ++index) {
        EXPECT_EQ(code_with(index, noise(1000, 1)), RAW_MEND_BAD_ARGUMENT);
        EXPECT_EQ(code_with(index, Bytes{0xFF}), RAW_MEND_BAD_ARGUMENT);
        if (pictures[index].coding == RAW_MEND_PICTURE_OTHER) {
            EXPECT_EQ(code_with(index, bytes_of(photo.bytes, pictures[index])), RAW_MEND_BAD_ARGUMENT);
        }
    }
    std::vector<RawMendPictureData> data(pictures.size() + 1);
    EXPECT_EQ(replace(data), RAW_MEND_BAD_ARGUMENT);
    data.resize(pictures.size() - 1);
    EXPECT_EQ(replace(data), RAW_MEND_BAD_ARGUMENT);
    EXPECT_EQ(replace({}), RAW_MEND_BAD_ARGUMENT);
    EXPECT_FALSE(fs::exists(output));
}

TEST_F(RawMendReplacePicturesTest, RequiresItsArgumentsAndAPhotograph) {
    const std::string in = utf8(file);
    const std::string out = utf8(output);
    const RawMendPictureData data{};
    EXPECT_EQ(RawMendReplacePictures(nullptr, &data, 1, out.c_str()), RAW_MEND_BAD_ARGUMENT);
    EXPECT_EQ(RawMendReplacePictures(in.c_str(), nullptr, 1, out.c_str()), RAW_MEND_BAD_ARGUMENT);
    EXPECT_EQ(RawMendReplacePictures(in.c_str(), &data, 1, nullptr), RAW_MEND_BAD_ARGUMENT);
    EXPECT_EQ(replace({data}), RAW_MEND_SAMPLE_UNREADABLE);
    write_file(file, {});
    EXPECT_EQ(replace({data}), RAW_MEND_SAMPLE_UNREADABLE);
    write_file(file, noise(1000, 1));
    EXPECT_EQ(replace({data}), RAW_MEND_SAMPLE_NOT_UNDERSTOOD);
    EXPECT_FALSE(fs::exists(output));
}

TEST_F(RawMendReplacePicturesTest, NeverTouchesWhatIsAtTheOutputsPath) {
    write_file(file, Cr2Photo().bytes);
    const Bytes old{1, 2, 3};
    write_file(output, old);
    const std::vector<RawMendPictureData> data(pictures_of(file).size());
    EXPECT_EQ(replace(data), RAW_MEND_OUTPUT_EXISTS);
    EXPECT_EQ(read_file(output), old);
    fs::remove(output);
    EXPECT_EQ(RawMendReplacePictures(utf8(file).c_str(), data.data(), static_cast<std::uint32_t>(data.size()),
                                     utf8(folder / "none" / "copy").c_str()),
              RAW_MEND_OUTPUT_UNWRITABLE);
}

class RawMendRealPictures : public RawMendReplacePicturesTest,
                            public ::testing::WithParamInterface<std::string> {};

// Among them are previews inside maker notes.
TEST_P(RawMendRealPictures, AreReplaced) {
    REAL_FILE_OR_SKIP(whole, GetParam());
    expect_jpegs_replaced(whole);
}

INSTANTIATE_TEST_SUITE_P(Files, RawMendRealPictures,
                         ::testing::Values("pairs/canon-30d/IMG_0848.CR2",
                                           "pairs/nikon-d5000-dng/sample1.dng"),
                         [](const auto& test) {
                             std::string name = test.param;
                             std::ranges::replace_if(
                                 name, [](char letter) { return std::isalnum(letter) == 0; }, '_');
                             return name;
                         });

} // namespace
} // namespace test
