#include "coding/BlankData.h"
#include "coding/JpegEnd.h"
#include "coding/MetadataRecords.h"
#include "locate/TrackTables.h"

#include "support/Bytes.h"
#include "support/Cr3Photo.h"
#include "support/Jpeg.h"
#include "support/Scene.h"

#include "container/Describe.h"

#include <gtest/gtest.h>

// What CR3 tracks are found with, each by itself.

namespace test {
namespace {

using raw_mend::Extent;
using raw_mend::find_jpeg_end;
using raw_mend::MetadataRecord;

// ---- Where a JPEG ends. ----

TEST(JpegEnd, IsAfterEoi) {
    const Bytes jpeg = make_preview(Scene(1), 64, 48);
    EXPECT_EQ(find_jpeg_end(jpeg, 0), jpeg.size());
    EXPECT_EQ(find_jpeg_end(joined(joined(noise(99, 1), jpeg), noise(99, 2)), 99), 99 + jpeg.size());
}

TEST(JpegEnd, IsNotThereWithoutEoi) {
    const Bytes jpeg = make_preview(Scene(1), 64, 48);
    for (std::size_t size = 0; size < jpeg.size(); ++size) {
        EXPECT_FALSE(find_jpeg_end(part(jpeg, 0, size), 0)) << size;
    }
    EXPECT_FALSE(find_jpeg_end(jpeg, 1));
    EXPECT_FALSE(find_jpeg_end(jpeg, ~std::uint64_t{0}));
    EXPECT_FALSE(find_jpeg_end(Bytes{0xFF, 0xD8, 0xFF, 0xD9}, 0)) << "no scan";
}

TEST(JpegEnd, SkipsStuffingRestartsAndFurtherScans) {
    const Bytes sos{0xFF, 0xDA, 0, 2};
    const Bytes data{1, 0xFF, 0, 2, 0xFF, 0xD0, 3, 0xFF, 0xFF, 0xD7, 4};
    const Bytes dht{0xFF, 0xC4, 0, 3, 9};
    Bytes jpeg{0xFF, 0xD8};
    for (const Bytes& next : {sos, data, dht, sos, data, Bytes{0xFF, 0xD9}}) {
        jpeg = joined(jpeg, next);
    }
    EXPECT_EQ(find_jpeg_end(jpeg, 0), jpeg.size());
    for (const unsigned wrong : {0x01U, 0xBFU, 0xD8U}) { // After the first scan's data.
        Bytes changed = jpeg;
        changed[2 + sos.size() + data.size() + 1] = static_cast<unsigned char>(wrong);
        EXPECT_FALSE(find_jpeg_end(changed, 0)) << wrong;
    }
}

// ---- Records of metadata. ----

Bytes record(std::uint32_t size, std::uint16_t kind) {
    Bytes bytes = noise(size, kind);
    put_u32(bytes, 0, size, ByteOrder::kLittle);
    put_u16(bytes, 4, kind, ByteOrder::kLittle);
    return bytes;
}

const std::vector<MetadataRecord> kRecords{{24, 1}, {16, 3}, {40, 5}};

Bytes three_records() {
    return joined(joined(record(24, 1), record(16, 3)), record(40, 5));
}

TEST(MetadataRecords, AddUpToTheirLength) {
    const Bytes bytes = joined(noise(7, 1), three_records());
    EXPECT_EQ(raw_mend::read_metadata_records(bytes, {7, 80}), kRecords);
    EXPECT_FALSE(raw_mend::read_metadata_records(bytes, {7, 79}));
    EXPECT_FALSE(raw_mend::read_metadata_records(bytes, {7, 81}));
    EXPECT_FALSE(raw_mend::read_metadata_records(bytes, {7, 0}));
    EXPECT_FALSE(raw_mend::read_metadata_records(bytes, {6, 80}));
    EXPECT_FALSE(raw_mend::read_metadata_records(Bytes(80), {0, 80})) << "records of no bytes";
}

TEST(MetadataRecords, EndWhereTheLastOneDoes) {
    const Bytes bytes = joined(joined(noise(7, 1), three_records()), noise(9, 2));
    EXPECT_EQ(raw_mend::find_records_end(bytes, 7, kRecords), 87U);
    EXPECT_FALSE(raw_mend::find_records_end(bytes, 8, kRecords));
    EXPECT_FALSE(raw_mend::find_records_end(part(bytes, 0, 86), 7, kRecords));
    EXPECT_FALSE(raw_mend::find_records_end(bytes, 7, {{24, 1}, {16, 4}, {40, 5}}));
    EXPECT_TRUE(raw_mend::begins_like_records(bytes, 7, {{24, 1}, {99, 3}}));
    EXPECT_FALSE(raw_mend::begins_like_records(bytes, 7, {{24, 1}, {16, 4}}));
    EXPECT_FALSE(raw_mend::begins_like_records(bytes, 7, {{25, 1}, {16, 3}}));
    EXPECT_FALSE(raw_mend::begins_like_records(bytes, 7, {}));
}

TEST(MetadataRecords, AreFoundIfThereIsOnlyOneSuchPlace) {
    const Bytes one = joined(noise(777, 1), three_records());
    EXPECT_EQ(raw_mend::find_only_records(one, 0, kRecords), (Extent{777, 80}));
    EXPECT_EQ(raw_mend::find_only_records(one, 777, kRecords), (Extent{777, 80}));
    EXPECT_FALSE(raw_mend::find_only_records(one, 778, kRecords));
    EXPECT_FALSE(raw_mend::find_only_records(one, 9999, kRecords));
    EXPECT_FALSE(raw_mend::find_only_records(joined(one, one), 0, kRecords));
}

// ---- Tables and boxes that survive. ----

TEST(TrackTables, AreFoundWhateverIsLeftAroundThem) {
    const Cr3Photo photo({.maker_notes = 900});
    const auto expect_all = [&](const Bytes& bytes) {
        const auto tables = raw_mend::find_track_tables(bytes);
        ASSERT_EQ(tables.size(), 4U);
        for (std::size_t nth = 0; nth < 4; ++nth) {
            EXPECT_EQ(tables[nth].offset, photo.tracks[nth].offset);
            EXPECT_EQ(tables[nth].length, photo.tracks[nth].size);
        }
    };
    expect_all(photo.bytes);
    expect_all(zeroed(photo.bytes, 0, photo.at("trak1") + 8));
    expect_all(part(photo.bytes, photo.at("trak1"), photo.bytes.size()));
    EXPECT_EQ(raw_mend::find_track_tables(zeroed(photo.bytes, 0, photo.at("trak3"))).size(), 2U);
    EXPECT_TRUE(raw_mend::find_track_tables({}).empty());
    EXPECT_TRUE(raw_mend::find_track_tables(Bytes{'s', 't', 's', 'z'}).empty());
}

TEST(TrackTables, OfNarrowOffsets) {
    Cr3Photo photo;
    put_text(photo.bytes, photo.at("trak1/co64") + 4, "stco");
    const auto tables = raw_mend::find_track_tables(photo.bytes);
    ASSERT_EQ(tables.size(), 4U);
    EXPECT_EQ(tables[0].offset, 0U) << "its first four bytes are the high ones of the wide number";
}

TEST(TrackTables, MediaBoxesOfBothKinds) {
    for (const bool large : {false, true}) {
        const Cr3Photo photo({.large_mdat = large});
        const auto boxes = raw_mend::find_media_boxes(joined(noise(3, 1), photo.bytes));
        ASSERT_EQ(boxes.size(), 1U);
        EXPECT_EQ(boxes[0].begin, 3 + photo.payload);
        EXPECT_EQ(boxes[0].end, 3 + photo.bytes.size());
    }
    EXPECT_TRUE(raw_mend::find_media_boxes(Bytes{'m', 'd', 'a', 't'}).empty());
    EXPECT_TRUE(raw_mend::find_media_boxes(Bytes{0, 0, 0, 7, 'm', 'd', 'a', 't'}).empty());
}

// ---- Blank parts. ----

TEST(BlankData, AreLongRunsOfZeros) {
    const Bytes data = noise(5000, 1);
    EXPECT_FALSE(raw_mend::has_blank_part(data));
    EXPECT_FALSE(raw_mend::has_blank_part(zeroed(data, 1000, 1490)));
    EXPECT_TRUE(raw_mend::has_blank_part(zeroed(data, 1000, 1512)));
    EXPECT_TRUE(raw_mend::has_blank_part(Bytes(512)));
    EXPECT_FALSE(raw_mend::has_blank_part(Bytes(511)));
    EXPECT_FALSE(raw_mend::has_blank_part({}));
}

// ---- What is transplanted besides the image. ----

} // namespace
} // namespace test
