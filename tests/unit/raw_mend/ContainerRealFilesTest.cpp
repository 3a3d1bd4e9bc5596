#include "Consistency.h"
#include "container/Describe.h"
#include "support/RealFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

// Files as cameras and converters wrote them. Offsets and lengths are those that their directories state,
// read by hand; what is at them is compared with what must be there.

namespace raw_mend {
namespace {

using test::Bytes;
using ::testing::Contains;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr test::ByteOrder kLittle = test::ByteOrder::kLittle;
constexpr test::ByteOrder kBig = test::ByteOrder::kBig;

/// Whether the bytes of a piece begin and end as a JPEG. Converters pad each to an even length.
bool is_jpeg(const Bytes& bytes, const Extent& data) {
    const auto u16 = [&](std::uint64_t at) {
        return test::get_u16(bytes, static_cast<std::size_t>(at), kBig);
    };
    return data.length > 4 && data.end() <= bytes.size() && u16(data.offset) == 0xFFD8 &&
           (u16(data.end() - 2) == 0xFFD9 || u16(data.end() - 3) == 0xFFD9);
}

void expect_all_jpegs(const Bytes& bytes, const Image& image) {
    for (const Piece& piece : image.pieces) {
        EXPECT_TRUE(is_jpeg(bytes, piece.data)) << piece.data.offset;
    }
}

/// The pieces that two tables of LONGs name, read straight from where the tables are.
void expect_pieces(const Bytes& bytes, const Image& image, std::size_t offsets, std::size_t lengths,
                   std::size_t count, test::ByteOrder order) {
    ASSERT_EQ(image.pieces.size(), count);
    for (std::size_t index = 0; index < count; ++index) {
        const Piece& piece = image.pieces[index];
        EXPECT_EQ(piece.data, (Extent{test::get_u32(bytes, offsets + 4 * index, order),
                                      test::get_u32(bytes, lengths + 4 * index, order)}));
        EXPECT_EQ(piece.offset_field->at, offsets + 4 * index);
        EXPECT_EQ(piece.length_field->at, lengths + 4 * index);
    }
}

struct Size {
    std::uint32_t width;
    std::uint32_t height;
    bool operator==(const Size&) const = default;
};
std::vector<Size> picture_sizes(const Description& description) {
    std::vector<Size> sizes;
    for (const Image& picture : description.pictures) {
        sizes.push_back({picture.frame.width, picture.frame.height});
    }
    return sizes;
}

TEST(ContainerRealFiles, NikonD1) {
    REAL_FILE_OR_SKIP(bytes, "nef/nikon-d1.nef");
    const Description description = described(bytes);
    EXPECT_THAT(description.not_understood, IsEmpty());
    expect_pieces(bytes, description.raw, 59090, 59358, 67, kBig);
    EXPECT_EQ(description.raw.frame,
              (Frame{2012, 1324, 12, 1, Coding::kUncompressed, 1, 2012, 20, ByteOrder::kBig}));
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{59642, 60360}));
    EXPECT_EQ(description.raw.pieces[66].data.end(), bytes.size());
    EXPECT_EQ(picture_sizes(description), (std::vector<Size>{{160, 120}}));
    EXPECT_EQ(description.pictures[0].pieces[0].data, (Extent{1280, 57600}));
    EXPECT_EQ(description.tables,
              (std::vector<Extent>{{0, 1280}, {58880, 762}})); // Up to thumbnail and image.
    EXPECT_EQ(description.make, "NIKON CORPORATION");
    EXPECT_EQ(description.model, "NIKON D1");
}

TEST(ContainerRealFiles, Canon30D) {
    struct Case {
        const char* name;
        Extent raw;
        Extent preview;
    };
    for (const Case& item : {Case{"IMG_0848", {629814, 6661254}, {83123, 251779}},
                             Case{"IMG_5952", {751441, 6771845}, {83355, 373174}}}) {
        REAL_FILE_OR_SKIP(bytes, std::string("pairs/canon-30d/") + item.name + ".CR2");
        const Description description = described(bytes);
        EXPECT_THAT(description.not_understood, IsEmpty());
        ASSERT_EQ(description.raw.pieces.size(), 1U);
        EXPECT_EQ(description.raw.pieces[0].data, item.raw);
        EXPECT_EQ(item.raw.end(), bytes.size());
        expect_all_jpegs(bytes, description.raw);
        EXPECT_EQ(description.raw.frame,
                  (Frame{3596, 2360, 12, 1, Coding::kLosslessJpeg, 6, 3596, 2360, ByteOrder::kLittle}));
        EXPECT_EQ(description.raw.slices, (std::vector<std::uint32_t>{1798, 1798}));
        EXPECT_EQ(picture_sizes(description), (std::vector<Size>{{1728, 1152}, {384, 256}, {160, 120}}));
        EXPECT_EQ(description.pictures[0].pieces[0].data, item.preview);
        expect_all_jpegs(bytes, description.pictures[0]);
        EXPECT_EQ(description.pictures[1].frame.coding, Coding::kUncompressed);
        expect_all_jpegs(bytes, description.pictures[2]);
        EXPECT_EQ(description.model, "Canon EOS 30D");
    }
}

TEST(ContainerRealFiles, NikonD5000AsDng) {
    struct Case {
        const char* name;
        std::size_t offsets;
        std::size_t lengths;
        Extent preview;
        std::uint64_t note; ///< Base of the maker notes.
    };
    for (const Case& item : {Case{"sample1", 136444, 137260, {153194, 113403}, 138944},
                             Case{"sample2", 138062, 138878, {154812, 115021}, 140562}}) {
        REAL_FILE_OR_SKIP(bytes, std::string("pairs/nikon-d5000-dng/") + item.name + ".dng");
        const Description description = described(bytes);
        EXPECT_THAT(description.not_understood, IsEmpty());
        expect_pieces(bytes, description.raw, item.offsets, item.lengths, 204, kLittle);
        expect_all_jpegs(bytes, description.raw);
        EXPECT_EQ(description.raw.frame,
                  (Frame{4310, 2868, 16, 1, Coding::kLosslessJpeg, 7, 256, 240, ByteOrder::kLittle}));
        EXPECT_EQ(picture_sizes(description), (std::vector<Size>{{1280, 850}, {570, 375}, {256, 170}}));
        expect_all_jpegs(bytes, description.pictures[0]);
        const Piece& named_by_maker_notes = description.pictures[1].pieces[0];
        EXPECT_EQ(named_by_maker_notes.data, item.preview);
        EXPECT_TRUE(is_jpeg(bytes, item.preview));
        EXPECT_EQ(named_by_maker_notes.offset_field->base, item.note);
        EXPECT_EQ(description.model, "NIKON D5000");
    }
}

TEST(ContainerRealFiles, RaspberryPi) {
    for (const char* name : {"pairs/picamera-rig/image_0.dng", "pairs/picamera-rig/image_3.dng"}) {
        REAL_FILE_OR_SKIP(bytes, name);
        const Description description = described(bytes);
        EXPECT_THAT(description.not_understood, IsEmpty());
        expect_pieces(bytes, description.raw, 114, 150, 1, kLittle);
        EXPECT_EQ(description.raw.pieces[0].data, (Extent{748, std::uint64_t{1456} * 1088 * 10 / 8}));
        EXPECT_EQ(description.raw.frame,
                  (Frame{1456, 1088, 10, 1, Coding::kUncompressed, 1, 1456, 1088, ByteOrder::kLittle}));
    }
}

TEST(ContainerRealFiles, BlackmagicPocket) {
    REAL_FILE_OR_SKIP(bytes, "dng/blackmagic-pocket.dng");
    const Description description = described(bytes);
    EXPECT_THAT(description.not_understood, IsEmpty());
    expect_pieces(bytes, description.raw, 434, 442, 2, kBig);
    expect_all_jpegs(bytes, description.raw);
    EXPECT_EQ(description.raw.frame,
              (Frame{1952, 1112, 12, 1, Coding::kLosslessJpeg, 7, 976, 1112, ByteOrder::kBig}));
    EXPECT_EQ(description.make, "");
    EXPECT_EQ(description.model, "Blackmagic Pocket Cinema Camera");
}

TEST(ContainerRealFiles, CanonX4AsDng) {
    REAL_FILE_OR_SKIP(bytes, "dng/canon-x4-colorchart.dng");
    const Description description = described(bytes);
    EXPECT_THAT(description.not_understood, IsEmpty());
    expect_pieces(bytes, description.raw, 114, 162, 1, kLittle);
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{1536, 3905328}));
    EXPECT_EQ(description.raw.frame,
              (Frame{1888, 1182, 14, 1, Coding::kUncompressed, 1, 1888, 1182, ByteOrder::kLittle}));
}

TEST(ContainerRealFiles, LossyDng) {
    REAL_FILE_OR_SKIP(bytes, "dng/lg-h815-lossy.dng");
    const Description description = described(bytes);
    EXPECT_THAT(description.not_understood, IsEmpty());
    expect_pieces(bytes, description.raw, 12512, 12520, 2, kLittle);
    expect_all_jpegs(bytes, description.raw);
    EXPECT_EQ(description.raw.frame,
              (Frame{600, 338, 8, 3, Coding::kLossyJpeg, 34892, 304, 352, ByteOrder::kLittle}));
    ASSERT_EQ(description.pictures.size(), 1U);
    EXPECT_EQ(description.pictures[0].pieces[0].data, (Extent{13092, 11051}));
    expect_all_jpegs(bytes, description.pictures[0]);
}

TEST(ContainerRealFiles, HeadOfASonyA330) {
    REAL_FILE_OR_SKIP(bytes, "arw/sony-a330-head.arw");
    const Description description = described(bytes);
    expect_pieces(bytes, description.raw, 92930, 92954, 1, kLittle);
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{688128, 8883620}));
    EXPECT_EQ(description.raw.frame,
              (Frame{3880, 2600, 12, 1, Coding::kOther, 32767, 3880, 2600, ByteOrder::kLittle}));
    ASSERT_EQ(description.pictures.size(), 2U);
    EXPECT_EQ(description.pictures[0].pieces[0].data, (Extent{32770, 3598}));
    EXPECT_TRUE(is_jpeg(bytes, {32770, 3598 - 11})); // The camera fills up with 11 bytes.
    EXPECT_EQ(description.pictures[1].pieces[0].data, (Extent{155683, 530370}));
    EXPECT_THAT(description.tables,
                Contains(Extent{36496, 0x78F0 + 2 * 0x1400})); // Sony's block, and a value after it.
    EXPECT_THAT(description.not_understood,
                testing::ElementsAre("The raw image ends at offset 9571748, after the end of the file."));
}

TEST(ContainerRealFiles, HeadsThatEndBeforeTheRawDirectory) {
    struct Case {
        const char* name;
        const char* sentence;
        Extent preview;
        const char* model;
    };
    for (const Case& item : {Case{"arw/sony-a7m3-head.arw",
                                  "The directory at offset 133316 is outside the file.",
                                  {135330, 392117},
                                  "ILCE-7M3"},
                             Case{"arw/sony-zv-e10-head.arw",
                                  "The directory at offset 116362 is outside the file.",
                                  {118946, 635631},
                                  "ZV-E10"}}) {
        REAL_FILE_OR_SKIP(bytes, item.name);
        const Description description = described(bytes);
        EXPECT_THAT(description.raw.pieces, IsEmpty());
        EXPECT_THAT(description.not_understood, Contains(item.sentence));
        EXPECT_THAT(description.not_understood, Contains("No directory in the file describes a raw image."));
        EXPECT_EQ(description.pictures.back().pieces[0].data, item.preview);
        EXPECT_EQ(description.model, item.model);
    }
}

TEST(ContainerRealFiles, HeadOfACanonS90) {
    REAL_FILE_OR_SKIP(bytes, "cr2/canon-s90-head.cr2");
    const Description description = described(bytes);
    expect_pieces(bytes, description.raw, 8908, 8920, 1, kLittle);
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{1826816, 11460721}));
    EXPECT_EQ(description.raw.slices, (std::vector<std::uint32_t>{1848, 1896}));
    // The JPEG is not there; the maker notes state the sensor's size.
    EXPECT_EQ(description.raw.frame,
              (Frame{3744, 2784, 0, 1, Coding::kLosslessJpeg, 6, 3744, 2784, ByteOrder::kLittle}));
    EXPECT_EQ(picture_sizes(description), (std::vector<Size>{{1600, 1200}, {456, 342}, {160, 120}}));
    EXPECT_TRUE(is_jpeg(bytes, description.pictures[2].pieces[0].data));
}

TEST(ContainerRealFiles, HeadOfACanonEosR) {
    REAL_FILE_OR_SKIP(bytes, "cr3/canon-eos-r-head.cr3");
    const Description description = described(bytes);
    ASSERT_EQ(description.raw.pieces.size(), 1U);
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{0x3B1A72, 0x1848B20}));
    EXPECT_EQ(description.raw.pieces[0].length_field->at, 30753U); // Its one size is that of all samples.
    EXPECT_EQ(description.raw.frame,
              (Frame{0x1AE8, 0x11C2, 14, 1, Coding::kCrx, 0, 0x1AE8, 0x11C2, ByteOrder::kBig}));
    EXPECT_EQ(picture_sizes(description),
              (std::vector<Size>{{6720, 4480}, {1624, 1080}, {1620, 1080}, {160, 120}}));
    EXPECT_EQ(description.pictures[2].pieces[0].data, (Extent{96856, 306386})); // Cut.
    EXPECT_EQ(description.pictures[3].pieces[0].data, (Extent{12824, 16199}));
    EXPECT_TRUE(is_jpeg(bytes, {12824, 16199}));
    ASSERT_EQ(description.metadata.size(), 1U);
    EXPECT_EQ(description.metadata[0].data, (Extent{0x1BFA592, 0xA2D0}));
    // "moov" and "uuid"; XMP, preview and media data, by CTBO; "THMB". That of the preview is cut.
    ASSERT_EQ(description.enclosing.size(), 6U);
    EXPECT_EQ(description.enclosing[4].data.offset, 0x6272AU);
    EXPECT_EQ(description.model, "Canon EOS R");
}

TEST(ContainerRealFiles, CanonR6WithoutMediaData) {
    REAL_FILE_OR_SKIP(bytes, "cr3/canon-r6-pruned.cr3");
    const Description description = described(bytes);
    ASSERT_EQ(description.raw.pieces.size(), 1U);
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{0x201600, 0x2E8E10}));
    EXPECT_EQ(description.raw.pieces[0].length_field->at, 36080U); // In the table.
    EXPECT_EQ(description.pictures[0].pieces[0].data, (Extent{0x78200, 0xEB073}));
    EXPECT_TRUE(is_jpeg(bytes, {102176, 389450})); // The preview.
    EXPECT_EQ(description.pictures[2].pieces[0].data, (Extent{102176, 389450}));
    EXPECT_EQ(description.pictures[3].frame.coding, Coding::kLossyJpeg);
    EXPECT_EQ(description.model, "Canon EOS R6");
}

TEST(ContainerRealFiles, CanonM50WithoutPictures) {
    REAL_FILE_OR_SKIP(bytes, "cr3/canon-m50-stripped.cr3");
    const Description description = described(bytes);
    ASSERT_EQ(description.raw.pieces.size(), 1U);
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{0x2CCA, 0x1ED4D00}));
    EXPECT_EQ(description.raw.frame.width, 6288U);
    EXPECT_THAT(description.not_understood,
                Contains("The box at offset 8736 states a picture that is not in it."));
    EXPECT_THAT(description.not_understood,
                Contains(HasSubstr("The box PRVW at offset 11371 states more bytes than there are.")));
}

TEST(ContainerRealFiles, FujifilmS5Pro) {
    REAL_FILE_OR_SKIP(bytes, "raf/fuji-s5pro-stripped.raf");
    const Description description = described(bytes);
    EXPECT_EQ(description.make, "FUJIFILM");
    EXPECT_EQ(description.model, "FinePix S5Pro");
    ASSERT_EQ(description.raw.pieces.size(), 1U);
    EXPECT_EQ(description.raw.pieces[0].data, (Extent{0x9608, 0x16}));
    EXPECT_EQ(test::part(bytes, 0x9608, 0x9608 + 0x16), [](std::string_view text) {
        return Bytes(text.begin(), text.end());
    }("<Dummy raw image data>"));
    EXPECT_EQ(description.raw.frame.width, 0x1100U);
    EXPECT_EQ(description.raw.frame.height, 0x5A4U);
    EXPECT_EQ(description.pictures.size(), 3U); // The second set, the JPEG, and its thumbnail.
    EXPECT_EQ(description.pictures[0].pieces[0].data, (Extent{0x961E, 0x16}));
    EXPECT_EQ(description.pictures[2].pieces[0].data, (Extent{148, 0x2F87}));
}

TEST(ContainerRealFiles, DamagedHeadsAreDescribedAsTheyAreOrNotAtAll) {
    for (const char* name :
         {"arw/sony-a330-head.arw", "cr2/canon-s90-head.cr2", "cr3/canon-eos-r-head.cr3",
          "dng/lg-h815-lossy.dng", "raf/fuji-s5pro-stripped.raf", "pairs/nikon-d5000-dng/sample1.dng"}) {
        REAL_FILE_OR_SKIP(bytes, name);
        for (const std::size_t count : {std::size_t{512}, std::size_t{1000}, std::size_t{4096}}) {
            EXPECT_FALSE(describe(test::joined(test::noise(count, 5), bytes))) << name;
            EXPECT_FALSE(describe(test::zeroed(bytes, 0, count))) << name;
        }
        for (std::size_t at = 16; at < std::min<std::size_t>(bytes.size(), 150000); at += 4096) {
            const std::size_t end = std::min(at + 512, bytes.size());
            Bytes damaged = bytes;
            test::put_bytes(damaged, at, test::noise(end - at, static_cast<std::uint32_t>(at)));
            expect_consistent(damaged, describe(damaged));
            damaged = test::zeroed(bytes, at, end);
            expect_consistent(damaged, describe(damaged));
            damaged = test::part(bytes, 0, at);
            expect_consistent(damaged, describe(damaged));
        }
    }
}

} // namespace
} // namespace raw_mend
