#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"

#include "support/DngPhoto.h"
#include "support/Jpeg.h"
#include "support/RawDecode.h"
#include "support/TiffWriter.h"

#include <gmock/gmock.h>

namespace test {
namespace {

using ::testing::ElementsAre;

const RepairLog kLog = repair_log("dng");

/// The lines of a repair that failed once the working copy was made. The reasons are the constant texts of
/// the exceptions.
auto failed(const std::string& reason) {
    return ElementsAre(kLog.cloned, kLog.failed("DNG repaired failed, reason is " + reason));
}
constexpr const char* kIllegal = "Data is illegal";
constexpr const char* kNotFound = "Data can not found";
constexpr const char* kOutOfRange = "Access out of range";
constexpr const char* kMismatching = "Data is mismatching";

std::string name_of(const ::testing::TestParamInfo<ByteOrder>& order) {
    return order.param == ByteOrder::kBig ? "MM" : "II";
}

// Photographs. The picture is the judge.

class DngPicture : public RepairFixture, public ::testing::WithParamInterface<ByteOrder> {
  protected:
    /// Repairs and judges by the picture and by the bytes.
    void expect_picture(const DngPhoto& sample, const DngPhoto& original, const Bytes& damaged) {
        ASSERT_EQ(advance("dng", damaged, sample.bytes), 0);
        EXPECT_EQ(output(), expected_output(sample, original, damaged));
        const auto picture = decode_raw(output_path);
        ASSERT_TRUE(picture.has_value());
        EXPECT_EQ(picture->errors, 0U);
        EXPECT_EQ(picture->samples, original.samples);
        EXPECT_EQ(picture, decode_raw(original.bytes));
        EXPECT_NE(picture, decode_raw(sample.bytes));
    }

    ByteOrder order = GetParam();
};

INSTANTIATE_TEST_SUITE_P(ByteOrders, DngPicture, ::testing::Values(ByteOrder::kLittle, ByteOrder::kBig),
                         name_of);

TEST_P(DngPicture, PhotographsDecodeToTheirSamples) {
    const DngPhoto photo(DngPhoto::Options{.order = order});
    const auto picture = decode_raw(photo.bytes);
    ASSERT_TRUE(picture.has_value());
    EXPECT_EQ(picture->width, 192U);
    EXPECT_EQ(picture->height, 128U);
    EXPECT_EQ(picture->errors, 0U);
    EXPECT_EQ(picture->samples, photo.samples);
    ASSERT_EQ(photo.preview_offsets.size(), 3U);
    for (std::size_t preview = 0; preview < 3; ++preview) {
        const std::uint32_t offset = photo.preview_offsets[preview];
        EXPECT_TRUE(jpeg_decodes(part(photo.bytes, offset, offset + photo.preview_sizes[preview])));
    }
}

TEST_P(DngPicture, IsRepairedWithEverythingBeforeTheMainImagesEntryDestroyed) {
    const DngPhoto sample(DngPhoto::Options{.order = order, .number = 1});
    const DngPhoto original(DngPhoto::Options{.order = order, .number = 2, .private_data = 5001});
    ASSERT_NE(sample.tile_byte_counts, original.tile_byte_counts) << "the tables must be rewritten";
    const std::uint32_t front = original.main_entry;
    for (const Bytes& debris : {Bytes(front), Bytes(front, 0xFF), noise(front, 7)}) {
        Bytes damaged = original.bytes;
        put_bytes(damaged, 0, debris);
        ASSERT_EQ(decode_raw(damaged), std::nullopt);
        expect_picture(sample, original, damaged);
    }
}

TEST_P(DngPicture, NeedsThreeEntriesTwoListsAndTheTiles) {
    const DngPhoto sample(DngPhoto::Options{.order = order, .number = 1});
    const DngPhoto original(DngPhoto::Options{.order = order, .number = 2, .private_data = 5001});
    const auto lists = static_cast<std::uint32_t>(4 * original.tiles());
    Bytes damaged(original.bytes.size(), 0xFF);
    for (const auto& [first, size] :
         {std::pair{original.main_entry, 12U},
          {original.main_ifd.entry(324), 12U},
          {original.main_ifd.entry(325), 12U},
          {original.offset_slot(0), lists},
          {original.byte_count_slot(0), lists},
          {original.tile_offsets[0],
           static_cast<std::uint32_t>(end_of_tiles(original)) - original.tile_offsets[0]}}) {
        put_bytes(damaged, first, part(original.bytes, first, first + size));
    }
    expect_picture(sample, original, damaged);
}

TEST_P(DngPicture, IsFoundWhereverItsDirectoryIsAmongTheOthers) {
    for (std::size_t place = 0; place < 4; ++place) {
        const DngPhoto sample(
            DngPhoto::Options{.order = order, .number = 1, .sub_previews = 3, .main_index = place});
        const DngPhoto original(DngPhoto::Options{
            .order = order, .number = 2, .private_data = 100, .sub_previews = 3, .main_index = 3 - place});
        expect_picture(sample, original, zeroed(original.bytes, 0, original.main_entry));
    }
}

TEST_P(DngPicture, IsFoundInTheOnlySubDirectory) {
    const DngPhoto sample(DngPhoto::Options{.order = order, .number = 1, .sub_previews = 0, .main_index = 0});
    const DngPhoto original(DngPhoto::Options{.order = order, .number = 2});
    expect_picture(sample, original, zeroed(original.bytes, 0, original.main_entry));
}

TEST_P(DngPicture, IsRepairedInManyTilesWithIncompleteOnesAtTheEdges) {
    const auto options = [this](unsigned number) {
        return DngPhoto::Options{.order = order,
                                 .number = number,
                                 .width = 200,
                                 .height = 150,
                                 .tile_width = 48,
                                 .tile_height = 32};
    };
    const DngPhoto sample(options(1));
    const DngPhoto original(options(2));
    ASSERT_EQ(sample.tiles(), 25U);
    expect_picture(sample, original, zeroed(original.bytes, 0, original.main_entry));
}

TEST_P(DngPicture, TablesOfTheOutputAreInTheSamplesByteOrder) {
    const DngPhoto sample(DngPhoto::Options{.order = order, .number = 1});
    const DngPhoto original(DngPhoto::Options{.order = order, .number = 2, .private_data = 5001});
    ASSERT_EQ(advance("dng", zeroed(original.bytes, 0, original.main_entry), sample.bytes), 0);
    std::uint32_t offset = sample.tile_offsets[0];
    for (std::size_t tile = 0; tile < sample.tiles(); ++tile) {
        EXPECT_EQ(get_u32(*output(), sample.offset_slot(tile), order), offset) << tile;
        EXPECT_EQ(get_u32(*output(), sample.byte_count_slot(tile), order), original.tile_byte_counts[tile]);
        EXPECT_EQ(part(*output(), offset, offset + original.tile_byte_counts[tile]),
                  part(original.bytes, original.tile_offsets[tile],
                       original.tile_offsets[tile] + original.tile_byte_counts[tile]));
        offset += original.tile_byte_counts[tile];
    }
    EXPECT_EQ(output()->size(), offset);
}

TEST_P(DngPicture, PreviewsOfTheOutputAreSpoiled) {
    const DngPhoto sample(DngPhoto::Options{.order = order, .number = 1});
    const DngPhoto original(DngPhoto::Options{.order = order, .number = 2});
    ASSERT_EQ(advance("dng", original.bytes, sample.bytes), 0);
    for (std::size_t preview = 0; preview < sample.preview_offsets.size(); ++preview) {
        const std::uint32_t offset = sample.preview_offsets[preview];
        const std::uint32_t end = offset + sample.preview_sizes[preview];
        EXPECT_FALSE(jpeg_decodes(part(*output(), offset, end)));
        EXPECT_EQ(part(*output(), offset + 30, end), part(sample.bytes, offset + 30, end));
    }
}

TEST_P(DngPicture, InASingleTileIsNotRepaired) {
    // A tile entry with count 1 holds its value itself, and is taken to point at a list all the same: four
    // bytes of the image are read as the offset of the tile.
    const auto options = [this](unsigned number) {
        return DngPhoto::Options{.order = order, .number = number, .tile_width = 192, .tile_height = 128};
    };
    const DngPhoto sample(options(1));
    const DngPhoto original(options(2));
    ASSERT_EQ(sample.tiles(), 1U);
    EXPECT_EQ(decode_raw(original.bytes)->samples, original.samples);
    EXPECT_EQ(advance("dng", original.bytes, sample.bytes), -1026);
    EXPECT_THAT(lines(), failed(kOutOfRange));
    EXPECT_EQ(output(), std::nullopt);
}

/// A sample and a damaged photograph from one camera, with different offsets everywhere.
class DngRepairs : public RepairFixture {
  protected:
    DngPhoto sample_photo{DngPhoto::Options{.number = 1}};
    DngPhoto damaged_photo{DngPhoto::Options{.number = 2, .private_data = 4096}};
};

TEST_F(DngRepairs, WhatFollowsTheLastTileIsLostInBothFiles) {
    EXPECT_EQ(advance("dng", joined(damaged_photo.bytes, noise(1000, 1)),
                      joined(sample_photo.bytes, noise(1000, 2))),
              0);
    EXPECT_EQ(output(), expected_output(sample_photo, damaged_photo, damaged_photo.bytes));
}

TEST_F(DngRepairs, SampleOfAnotherSizeButAsManyTilesIsNotNoticed) {
    const DngPhoto other(
        DngPhoto::Options{.number = 3, .width = 96, .height = 64, .tile_width = 32, .tile_height = 32});
    EXPECT_EQ(advance("dng", damaged_photo.bytes, other.bytes), 0);
    EXPECT_EQ(output(), expected_output(other, damaged_photo, damaged_photo.bytes));
}

// Files of a few hundred bytes, of which every field can be set.

/// A file with the structure of a DNG: IFD 0 with a preview and SubIFDs, one sub-directory, the two lists
/// whatever the count, then filler without a tag up to the size.
struct TinyDng {
    ByteOrder order = ByteOrder::kLittle;
    Bytes bytes;
    TiffDirectory ifd0{};
    TiffDirectory main_ifd{};
    std::uint32_t preview = 0;
    std::uint32_t offset_list = 0;
    std::uint32_t byte_count_list = 0;

    TinyDng(const std::vector<std::uint32_t>& offsets, const std::vector<std::uint32_t>& byte_counts,
            std::size_t size, unsigned char filler, ByteOrder byte_order = ByteOrder::kLittle)
        : order(byte_order) {
        TiffWriter tiff(order);
        tiff.write_header();
        ifd0 = tiff.write_directory({tiff.longs(254, {1}), tiff.longs(273, {0}), tiff.longs(330, {0})});
        const Bytes later(4);
        main_ifd = tiff.write_directory({tiff.longs(254, {0}),
                                         {324, 4, static_cast<std::uint32_t>(offsets.size()), later},
                                         {325, 4, static_cast<std::uint32_t>(byte_counts.size()), later}});
        tiff.set_value(ifd0, 330, main_ifd.offset);
        // The values of the lists as they are in the file.
        offset_list = tiff.append(tiff.longs(324, offsets).values);
        byte_count_list = tiff.append(tiff.longs(325, byte_counts).values);
        tiff.set_value(main_ifd, 324, offset_list);
        tiff.set_value(main_ifd, 325, byte_count_list);
        preview = tiff.append(Bytes(64, 0xAA));
        tiff.set_value(ifd0, 273, preview);
        bytes = joined(tiff.bytes(), Bytes(size - tiff.offset(), filler));
        for (std::size_t offset = tiff.offset(); offset + 4 <= size; offset += 4) {
            bytes[offset] = static_cast<unsigned char>(0x80U | offset >> 2U); // Every place looks different.
        }
    }

    /// Sets the value field of an entry; of a SHORT or a LONG alike, all four bytes.
    void set(const TiffDirectory& directory, std::uint16_t tag, std::uint32_t value) {
        put_u32(bytes, directory.value(tag), value, order);
    }
    void set_type(const TiffDirectory& directory, std::uint16_t tag, std::uint16_t type) {
        put_u16(bytes, directory.entry(tag) + 2, type, order);
    }
    /// Changes the tag, so that a search does not find it.
    void hide(const TiffDirectory& directory, std::uint16_t tag) {
        put_u16(bytes, directory.entry(tag), 0xC000, order);
    }
};

/// The worked example of the merge: three tiles at 5000 into a sample with its image at 1000.
class DngTables : public RepairFixture, public ::testing::WithParamInterface<ByteOrder> {
  protected:
    ByteOrder order = GetParam();
    TinyDng sample{{1000, 1111, 1222}, {111, 111, 111}, 1400, 0xE1, order};
    TinyDng damaged{{5000, 5500, 6100}, {500, 600, 700}, 6900, 0xD1, order};

    /// The sample with its preview blanked and these tables.
    [[nodiscard]] Bytes working_copy(const std::vector<std::uint32_t>& offsets,
                                     const std::vector<std::uint32_t>& byte_counts) const {
        Bytes bytes = zeroed(sample.bytes, sample.preview, sample.preview + 30);
        for (std::size_t tile = 0; tile < offsets.size(); ++tile) {
            put_u32(bytes, sample.offset_list + 4 * tile, offsets[tile], order);
        }
        for (std::size_t tile = 0; tile < byte_counts.size(); ++tile) {
            put_u32(bytes, sample.byte_count_list + 4 * tile, byte_counts[tile], order);
        }
        return bytes;
    }
};

INSTANTIATE_TEST_SUITE_P(ByteOrders, DngTables, ::testing::Values(ByteOrder::kLittle, ByteOrder::kBig),
                         name_of);

TEST_P(DngTables, AreRewrittenForTilesOfOtherSizes) {
    ASSERT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
    EXPECT_EQ(output()->size(), 1000U + 1800U);
    EXPECT_EQ(output(), joined(part(working_copy({1000, 1500, 2100}, {500, 600, 700}), 0, 1000),
                               part(damaged.bytes, 5000, 6800)));
}

TEST_P(DngTables, DifferentTileCountsAreMismatchingAndNothingIsPatched) {
    // Offsets and byte counts of the damaged file; the sample has three of each.
    for (const auto& [offsets, byte_counts] :
         {std::pair{std::vector<std::uint32_t>{5000, 5500}, std::vector<std::uint32_t>{500, 600}},
          {{5000, 5500, 6100, 6800}, {500, 600, 700, 50}},
          {{5000, 5500}, {500, 600, 700}},
          {{5000, 5500, 6100, 6800}, {500, 600, 700}},
          {{5000, 5500, 6100}, {500, 600}},
          {{5000, 5500, 6100}, {500, 600, 700, 50}}}) {
        reset_stand_ins();
        const TinyDng other(offsets, byte_counts, 6900, 0xD1, order);
        EXPECT_EQ(advance("dng", other.bytes, sample.bytes), -1026);
        EXPECT_THAT(lines(), failed(kMismatching));
        EXPECT_EQ(output(), std::nullopt);
        EXPECT_EQ(work_file("temp.dng"), working_copy({}, {}));
    }
}

TEST_P(DngTables, FewerByteCountsThanOffsetsLessOneAreMismatchingAndNothingIsPatched) {
    sample = TinyDng({1000, 1111, 1222}, {111}, 1400, 0xE1, order);
    damaged = TinyDng({5000, 5500, 6100}, {500}, 6900, 0xD1, order);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1026);
    EXPECT_THAT(lines(), failed(kMismatching));
    EXPECT_EQ(output(), std::nullopt);
    EXPECT_EQ(work_file("temp.dng"), working_copy({}, {}));
}

TEST_P(DngTables, OneByteCountLessThanOffsetsEndsWithTheLastOfEach) {
    sample = TinyDng({1000, 1111, 1222}, {111, 111}, 1400, 0xE1, order);
    damaged = TinyDng({5000, 5500, 6100}, {500, 600}, 6900, 0xD1, order);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
    EXPECT_EQ(output(), joined(part(working_copy({1000, 1500, 2100}, {500, 600}), 0, 1000),
                               part(damaged.bytes, 5000, 6700)));
}

TEST_P(DngTables, MoreByteCountsThanOffsetsEndWithTheLastOfEach) {
    sample = TinyDng({1000, 1111}, {111, 111, 111}, 1400, 0xE1, order);
    damaged = TinyDng({5000, 5500}, {500, 600, 700}, 6900, 0xD1, order);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
    EXPECT_EQ(output(), joined(part(working_copy({1000, 1500}, {500, 600, 700}), 0, 1000),
                               part(damaged.bytes, 5000, 6200)));
}

TEST_P(DngTables, OneTileIsReadAndWrittenAsAList) {
    sample = TinyDng({1000}, {111}, 1400, 0xE1, order);
    damaged = TinyDng({5000}, {500}, 6900, 0xD1, order);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
    EXPECT_EQ(output(), joined(part(working_copy({1000}, {500}), 0, 1000), part(damaged.bytes, 5000, 5500)));
}

TEST_P(DngTables, AreMadeForTilesEndToEndWhateverTheDamagedOffsets) {
    // A gap between the tiles is copied, and the offsets leave it out.
    damaged = TinyDng({5000, 5600, 6200}, {500, 500, 500}, 6900, 0xD1, order);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
    EXPECT_EQ(output(), joined(part(working_copy({1000, 1500, 2000}, {500, 500, 500}), 0, 1000),
                               part(damaged.bytes, 5000, 6700)));
}

TEST_P(DngTables, ByteCountsArePatchedBeforeOffsets) {
    // Both entries of the sample point at one list: the offsets are what stays.
    sample.set(sample.main_ifd, 325, sample.offset_list);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
    EXPECT_EQ(output(),
              joined(part(working_copy({500, 1500, 2100}, {}), 0, 1000), part(damaged.bytes, 5000, 6800)));
}

TEST_P(DngTables, RunningOffsetWrapsInThirtyTwoBits) {
    damaged = TinyDng({5000, 5500, 6100}, {0xFFFFFFF0, 600, 700}, 6900, 0xD1, order);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
    EXPECT_EQ(output(), joined(part(working_copy({1000, 984, 1584}, {0xFFFFFFF0, 600, 700}), 0, 1000),
                               part(damaged.bytes, 5000, 6800)));
}

// The merge. S is the sample's first offset, D the damaged file's, L what is copied from there.

TEST_P(DngTables, FirstOffsetOfTheSampleMayBeItsSize) {
    for (const std::uint32_t image : {1399U, 1400U}) {
        put_u32(sample.bytes, sample.offset_list, image, order);
        EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
        EXPECT_EQ(output(),
                  joined(part(working_copy({image, image + 500, image + 1100}, {500, 600, 700}), 0, image),
                         part(damaged.bytes, 5000, 6800)));
    }
}

TEST_P(DngTables, FirstOffsetPastTheSampleLeavesNoOutputAndThePatchedWorkingCopy) {
    for (const std::uint32_t image : {1401U, 0xFFFFFFFFU}) {
        reset_stand_ins();
        put_u32(sample.bytes, sample.offset_list, image, order);
        EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1026);
        EXPECT_THAT(lines(), failed(kOutOfRange));
        EXPECT_EQ(output(), std::nullopt);
        EXPECT_EQ(work_file("temp.dng"), working_copy({image, image + 500, image + 1100}, {500, 600, 700}));
    }
}

TEST_P(DngTables, FirstOffsetZeroTakesNothingOfTheSample) {
    put_u32(sample.bytes, sample.offset_list, 0, order);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
    EXPECT_EQ(output(), part(damaged.bytes, 5000, 6800));
}

TEST_P(DngTables, FirstOffsetZeroStillCreatesAnOutput) {
    put_u32(sample.bytes, sample.offset_list, 0, order);
    damaged.bytes.resize(6000);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1026);
    EXPECT_EQ(output(), Bytes{});
}

TEST_P(DngTables, DamagedFileMayEndWithItsLastTile) {
    damaged.bytes.resize(6800);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
    EXPECT_EQ(output()->size(), 2800U);
}

TEST_P(DngTables, DamagedFileCutInItsTilesLeavesTheSamplesPart) {
    for (const std::size_t size : {6799U, 5000U, 4999U, 400U}) {
        reset_stand_ins();
        damaged.bytes.resize(size);
        EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1026);
        EXPECT_THAT(lines(), failed(kOutOfRange));
        EXPECT_EQ(output(), part(working_copy({1000, 1500, 2100}, {500, 600, 700}), 0, 1000));
        EXPECT_EQ(work_file("temp.dng"), working_copy({1000, 1500, 2100}, {500, 600, 700}));
    }
}

TEST_P(DngTables, EmptyBlockOfTilesIsCopiedFromAnywhereInTheFile) {
    for (const auto& [image, code] :
         {std::pair{6899U, 0}, {6900U, 0}, {6901U, -1026}, {0xFFFFFFFFU, -1026}}) {
        damaged = TinyDng({image, 0, image}, {1, 1, 0}, 6900, 0xD1, order); // L is 0.
        EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), code) << image;
        EXPECT_EQ(output(), part(working_copy({1000, 1001, 1002}, {1, 1, 0}), 0, 1000)) << image;
    }
}

TEST_P(DngTables, LastTileBeforeTheFirstMakesABlockThatLeavesTheFile) {
    damaged = TinyDng({5000, 5500, 4000}, {500, 600, 999}, 6900, 0xD1, order); // L is 2^32 - 1.
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1026);
    EXPECT_THAT(lines(), failed(kOutOfRange));
    damaged = TinyDng({5000, 5500, 4000}, {500, 600, 1000}, 6900, 0xD1, order); // L is 0.
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
}

TEST_P(DngTables, LengthOfTheBlockWrapsInThirtyTwoBits) {
    // The end of the last tile wraps to 5100.
    damaged = TinyDng({5000, 5500, 0xFFFFFF00}, {500, 600, 0x100 + 5100}, 6900, 0xD1, order);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
    EXPECT_EQ(part(*output(), 1000, output()->size()), part(damaged.bytes, 5000, 5100));
}

TEST_P(DngTables, EndOfTheBlockDoesNotWrap) {
    // D is 2^32 - 256 and L 512: their sum of 32 bits, 256, would be in the file.
    damaged = TinyDng({0xFFFFFF00, 5500, 0}, {500, 600, 256}, 6900, 0xD1, order);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1026);
    EXPECT_THAT(lines(), failed(kOutOfRange));
}

// Failures in the sample.

TEST_P(DngTables, SampleThatEndsWithItsHeader) {
    EXPECT_EQ(advance("dng", damaged.bytes, part(sample.bytes, 0, 8)), -1023);
    EXPECT_THAT(lines(), failed(kNotFound)) << "the first directory is at the end";
}

TEST_P(DngTables, SampleWithSwappedVersionBytesIsTaken) {
    std::swap(sample.bytes[2], sample.bytes[3]);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
}

TEST_P(DngTables, SampleWithItsFirstDirectoryPastItsEnd) {
    for (const std::uint32_t offset : {1400U, 1401U, 0xFFFFFFFFU}) {
        reset_stand_ins();
        put_u32(sample.bytes, 4, offset, order);
        EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1023);
        EXPECT_THAT(lines(), failed(kNotFound));
    }
}

TEST_P(DngTables, SampleWithoutStripOffsets) {
    sample.hide(sample.ifd0, 273);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1023);
    EXPECT_THAT(lines(), failed(kNotFound));
    EXPECT_EQ(work_file("temp.dng"), sample.bytes);
}

TEST_P(DngTables, SampleWithoutSubIfdsHasItsFirstPreviewBlanked) {
    sample.hide(sample.ifd0, 330);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1023);
    EXPECT_THAT(lines(), failed(kNotFound));
    EXPECT_EQ(work_file("temp.dng"), working_copy({}, {}));
    EXPECT_EQ(output(), std::nullopt);
}

TEST_P(DngTables, SampleWithAnIllegalEntryIsNotSearchedFurther) {
    for (const auto& [directory, tag] : {std::pair{&sample.ifd0, 273},
                                         {&sample.ifd0, 330},
                                         {&sample.main_ifd, 254},
                                         {&sample.main_ifd, 324},
                                         {&sample.main_ifd, 325}}) {
        reset_stand_ins();
        TinyDng bad = sample;
        // A good copy of the entry is at the end.
        const std::uint32_t entry = directory->entry(static_cast<std::uint16_t>(tag));
        put_bytes(bad.bytes, 1300, part(sample.bytes, entry, entry + 12));
        bad.set_type(*directory, static_cast<std::uint16_t>(tag), 13);
        EXPECT_EQ(advance("dng", damaged.bytes, bad.bytes), -1023) << tag;
        EXPECT_THAT(lines(), failed(kIllegal)) << tag;
    }
}

TEST_P(DngTables, SampleWithAFalseHitBeforeAnEntryFails) {
    // The tag number is in the count of the entry before it.
    const std::uint32_t count = sample.ifd0.entry(254) + 4;
    put_u16(sample.bytes, count + 1, 273, order);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1023);
    EXPECT_THAT(lines(), failed(kIllegal));
}

TEST_P(DngTables, PreviewOfTheSampleMustHaveThirtyOneBytes) {
    sample.set(sample.ifd0, 273, 1400 - 31);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
    reset_stand_ins();
    sample.set(sample.ifd0, 273, 1400 - 30);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1023);
    EXPECT_THAT(lines(), failed(kOutOfRange));
    EXPECT_EQ(work_file("temp.dng"), zeroed(sample.bytes, 1370, 1400)) << "what was blanked stays";
    EXPECT_EQ(read_file(sample_path), sample.bytes) << "the user's file is not touched";
}

TEST_P(DngTables, ShortStripOffsetsOfABigEndianSampleAreNotCorrected) {
    // Two bytes of value, then two zeros: the value of a little-endian file reads well.
    sample.set_type(sample.ifd0, 273, 3);
    sample.set(sample.ifd0, 273, 0);
    put_u16(sample.bytes, sample.ifd0.value(273), static_cast<std::uint16_t>(sample.preview), order);
    if (order == ByteOrder::kLittle) {
        EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
    } else {
        EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1023);
        EXPECT_THAT(lines(), failed(kOutOfRange));
    }
}

TEST_P(DngTables, SampleWithItsSubDirectoryPastItsEnd) {
    sample.set(sample.ifd0, 330, 1400);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1023);
    EXPECT_THAT(lines(), failed(kNotFound));
}

TEST_P(DngTables, SampleWithItsSubDirectoryListPastItsEnd) {
    put_u32(sample.bytes, sample.ifd0.entry(330) + 4, 2, order);
    for (const std::uint32_t list : {1400U, 1393U, 0U}) {
        reset_stand_ins();
        sample.set(sample.ifd0, 330, list);
        EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1023);
        EXPECT_THAT(lines(), failed(kOutOfRange));
    }
    // A list that ends the file is read.
    sample.set(sample.ifd0, 330, 1392);
    put_u32(sample.bytes, 1392, sample.main_ifd.offset, order);
    put_u32(sample.bytes, 1396, sample.main_ifd.offset, order);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
}

TEST_P(DngTables, SampleWhoseTileListEndsTheFile) {
    sample.set(sample.main_ifd, 325, 1400 - 12);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1023);
    EXPECT_THAT(lines(), failed(kOutOfRange));
    sample.set(sample.main_ifd, 325, 1400 - 13);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), 0) << "one byte must follow it";
}

TEST_P(DngTables, SampleWithoutAMainImageIsMismatching) {
    // The sub-directory is one of a reduced image, with its StripOffsets after.
    sample.set(sample.main_ifd, 254, 1);
    put_bytes(sample.bytes, 1300, part(sample.bytes, sample.ifd0.entry(273), sample.ifd0.entry(330)));
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1026);
    EXPECT_THAT(lines(), failed(kMismatching));
    EXPECT_EQ(work_file("temp.dng"), working_copy({}, {}));

    reset_stand_ins();
    EXPECT_EQ(advance("dng", Bytes{}, sample.bytes), -1026) << "with empty lists on both sides too";
    EXPECT_THAT(lines(), failed(kMismatching));
    EXPECT_EQ(output(), std::nullopt);
}

TEST_P(DngTables, LastOfSeveralMainImagesInTheSampleWins) {
    // A second directory at 700 with its own lists, and a list of both at 800.
    const auto put_entry = [&](std::size_t offset, std::uint16_t tag, std::uint32_t count,
                               std::uint32_t value) {
        put_bytes(sample.bytes, offset, entry_bytes(tag, 4, count, value, order));
    };
    put_entry(702, 254, 1, 0);
    put_entry(714, 324, 3, 750);
    put_entry(726, 325, 3, 770);
    put_u32(sample.bytes, 750, 900, order);
    put_u32(sample.bytes, sample.ifd0.entry(330) + 4, 2, order);
    sample.set(sample.ifd0, 330, 800);
    for (const auto& [first, second, image] :
         {std::tuple{sample.main_ifd.offset, 700U, 900U}, {700U, sample.main_ifd.offset, 1000U}}) {
        put_u32(sample.bytes, 800, first, order);
        put_u32(sample.bytes, 804, second, order);
        ASSERT_EQ(advance("dng", damaged.bytes, sample.bytes), 0);
        EXPECT_EQ(output()->size(), image + 1800);
        const std::size_t list = image == 900 ? 750 : sample.offset_list;
        EXPECT_EQ(get_u32(*output(), list + 4, order), image + 500);
    }
}

TEST_P(DngTables, TilesAreSearchedForFromTheDirectoryInTheSampleAndFromTheEntryInTheDamagedFile) {
    // In both files the tile entries are before NewSubfileType.
    const auto reorder = [](TinyDng& dng) {
        const std::uint32_t first = dng.main_ifd.entry(254);
        const Bytes subfile_type = part(dng.bytes, first, first + 12);
        const Bytes tiles = part(dng.bytes, first + 12, first + 36);
        put_bytes(dng.bytes, first, joined(tiles, subfile_type));
    };
    const Bytes whole = damaged.bytes;
    reorder(sample);
    EXPECT_EQ(advance("dng", whole, sample.bytes), 0);
    EXPECT_EQ(output()->size(), 2800U);
    reorder(damaged);
    EXPECT_EQ(advance("dng", damaged.bytes, sample.bytes), -1024);
}

// The damaged file.

class DngScan : public DngTables {
  protected:
    /// A file without any tag, into which entries are put.
    Bytes silent = Bytes(6900, 0xFF);

    void put_entry(std::size_t offset, std::uint16_t tag, std::uint16_t type, std::uint32_t count,
                   std::uint32_t value) {
        put_bytes(silent, offset, entry_bytes(tag, type, count, value, order));
    }

    /// The three entries side by side, the lists at 4000 and 4100.
    void put_good_entries(std::size_t offset) {
        put_entry(offset, 254, 4, 1, 0);
        put_entry(offset + 12, 324, 4, 3, 4000);
        put_entry(offset + 24, 325, 4, 3, 4100);
        for (std::size_t tile = 0; tile < 3; ++tile) {
            put_u32(silent, 4000 + 4 * tile, std::vector<std::uint32_t>{5000, 5500, 6100}[tile], order);
            put_u32(silent, 4100 + 4 * tile, std::vector<std::uint32_t>{500, 600, 700}[tile], order);
        }
    }

    void expect_repaired() {
        reset_stand_ins();
        EXPECT_EQ(advance("dng", silent, sample.bytes), 0);
        EXPECT_EQ(output(), joined(part(working_copy({1000, 1500, 2100}, {500, 600, 700}), 0, 1000),
                                   part(silent, 5000, 6800)));
    }

    void expect_failure(std::int32_t code, const char* reason) {
        reset_stand_ins();
        EXPECT_EQ(advance("dng", silent, sample.bytes), code);
        EXPECT_THAT(lines(), failed(reason));
        EXPECT_EQ(output(), std::nullopt);
        EXPECT_EQ(work_file("temp.dng"), working_copy({}, {}));
    }
};

INSTANTIATE_TEST_SUITE_P(ByteOrders, DngScan, ::testing::Values(ByteOrder::kLittle, ByteOrder::kBig),
                         name_of);

TEST_P(DngScan, FindsTheEntriesAnywhere) {
    for (const std::size_t offset : {0U, 1U, 1234U, 3001U}) {
        silent = Bytes(6900, 0xFF);
        put_good_entries(offset);
        expect_repaired();
    }
}

TEST_P(DngScan, FileWithoutTheEntryIsNotFound) {
    expect_failure(-1024, kNotFound);
    silent = Bytes(1);
    expect_failure(-1024, kNotFound);
}

TEST_P(DngScan, FileOfTheOtherByteOrderIsNotFound) {
    const ByteOrder own = order;
    order = own == ByteOrder::kBig ? ByteOrder::kLittle : ByteOrder::kBig;
    put_good_entries(100);
    silent[99] = 0xFF; // Not 00 before the tag, which would make the pattern of the other order.
    put_u32(silent, 100 + 4, 0x11111111, order);
    order = own;
    expect_failure(-1024, kNotFound);
}

TEST_P(DngScan, FalseHitWithABadTypeIsSkippedSilently) {
    put_entry(50, 254, 99, 1, 0);
    put_good_entries(200);
    expect_repaired();
    EXPECT_THAT(lines(), ElementsAre(kLog.cloned, kLog.repaired));
}

TEST_P(DngScan, EntryOfAReducedImageIsSkipped) {
    put_entry(50, 254, 4, 1, 1);
    put_entry(62, 324, 4, 3, 5); // Its tiles are not read.
    put_good_entries(200);
    expect_repaired();
}

TEST_P(DngScan, SearchGoesOnOneByteAfterTheHit) {
    // The false hits begin inside one another and inside the true entry's twelve bytes.
    for (std::size_t distance = 2; distance <= 12; ++distance) {
        silent = Bytes(6900, 0xFF);
        put_entry(200 - distance, 254, 99, 1, 0);
        put_good_entries(200);
        expect_repaired();
    }
}

TEST_P(DngScan, BadTileEntryCostsOneMoreSearch) {
    for (const auto& [offsets_type, counts_type] : {std::pair{13, 4}, {4, 0}}) {
        silent = Bytes(6900, 0xFF);
        put_good_entries(200);
        put_entry(100, 254, 4, 1, 0);
        put_entry(112, 324, static_cast<std::uint16_t>(offsets_type), 1, 4000);
        put_entry(124, 325, static_cast<std::uint16_t>(counts_type), 1, 4000);
        expect_repaired();
    }
}

TEST_P(DngScan, BadTileEntryAfterTheLastHitIsNotFound) {
    put_good_entries(200);
    put_u16(silent, 212 + 2, 13, order);
    expect_failure(-1024, kNotFound);
    put_good_entries(200);
    put_u32(silent, 224 + 4, 0, order);
    expect_failure(-1024, kNotFound);
}

TEST_P(DngScan, HitWithoutTileEntriesAfterItIsNotFound) {
    put_good_entries(200);
    put_u16(silent, 212, 0xC000, order);
    expect_failure(-1024, kNotFound);
    put_good_entries(200);
    put_u16(silent, 224, 0xC000, order);
    expect_failure(-1024, kNotFound);
}

TEST_P(DngScan, TileEntriesBeforeTheHitAreNotSearchedFor) {
    put_entry(100, 324, 4, 3, 0xFFFFFFFF);
    put_entry(112, 325, 4, 3, 0xFFFFFFFF);
    put_good_entries(200);
    expect_repaired();
}

TEST_P(DngScan, TileEntriesMayBeInEitherOrderAndApart) {
    put_good_entries(200);
    put_entry(212, 325, 4, 3, 4100);
    put_entry(224, 0xC000, 4, 3, 4000);
    put_entry(3333, 324, 4, 3, 4000);
    expect_repaired();
}

TEST_P(DngScan, HitWithinTheLastElevenBytesIsOutOfRangeBeforeItIsJudged) {
    for (std::size_t left = 2; left <= 12; ++left) {
        silent = Bytes(1000, 0xFF);
        const Bytes tag = order == ByteOrder::kBig ? Bytes{0x00, 0xFE} : Bytes{0xFE, 0x00};
        put_bytes(silent, silent.size() - left, tag); // With type FFFF.
        if (left < 12) {
            expect_failure(-1025, kOutOfRange);
        } else {
            expect_failure(-1024, kNotFound);
        }
    }
}

TEST_P(DngScan, TileEntryWithinTheLastElevenBytesIsOutOfRange) {
    for (const std::uint16_t tag : std::vector<std::uint16_t>{324, 325}) {
        for (std::size_t left = 2; left <= 12; ++left) {
            silent = Bytes(6900, 0xFF);
            put_good_entries(200);
            put_u16(silent, tag == 324 ? 212U : 224U, 0xC000, order);
            put_u16(silent, silent.size() - left, tag, order); // With type FFFF.
            if (left < 12) {
                expect_failure(-1025, kOutOfRange);
            } else {
                expect_failure(-1024, kNotFound);
            }
        }
    }
}

TEST_P(DngScan, TileListsMustEndBeforeTheLastByte) {
    for (const std::size_t entry : {212U, 224U}) {
        for (const auto& [list, good] : {std::pair{6900U - 13U, true},
                                         {6900U - 12U, false},
                                         {6899U, false},
                                         {6900U, false},
                                         {0xFFFFFFFFU, false}}) {
            silent = Bytes(6900, 0xFF);
            put_good_entries(200);
            if (good) {
                put_bytes(silent, list, part(silent, entry == 212 ? 4000 : 4100, entry == 212 ? 4012 : 4112));
            }
            put_u32(silent, entry + 8, list, order);
            if (good) {
                expect_repaired();
            } else {
                expect_failure(-1025, kOutOfRange);
            }
        }
    }
}

TEST_P(DngScan, AbsurdTileCountIsOutOfRange) {
    for (const std::uint32_t count : {0x40000003U, 0xFFFFFFFFU}) {
        put_good_entries(200);
        put_u32(silent, 212 + 4, count, order);
        expect_failure(-1025, kOutOfRange);
    }
}

TEST_P(DngScan, OutOfRangeEndsTheRepairThoughATrueEntryFollows) {
    put_entry(100, 254, 4, 1, 0);
    put_entry(112, 324, 4, 1, 0xFFFFFFFF);
    put_good_entries(200);
    expect_failure(-1025, kOutOfRange);
}

} // namespace
} // namespace test
