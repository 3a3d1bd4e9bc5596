#include "Repair.h"
#include "Written.h"
#include "mend/StreamAreas.h"
#include "mend/StreamFrame.h"
#include "mend/StreamRepair.h"
#include "mend/StreamSearch.h"

#include "support/Cr2Photo.h"
#include "support/DngPhoto.h"
#include "support/LosslessJpeg.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"

#include <lossless_jpeg/Stream.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>
#include <tuple>

// Lossless JPEGs whose bytes are torn apart, or lost in part.

namespace test {
namespace {

using raw_mend::Area;
using raw_mend::FoundImage;
using raw_mend::Sample;

constexpr std::size_t kCluster = 4096;
constexpr std::size_t kSectorBytes = 512;

Bytes cr2_of_height(unsigned number, unsigned height) {
    Cr2Photo::Options options;
    options.number = number;
    options.width = 640;
    options.height = height;
    return Cr2Photo(options).bytes;
}

Bytes cr2(unsigned number) {
    return cr2_of_height(number, 480);
}

Bytes dng(unsigned number) {
    DngPhoto::Options options;
    options.number = number;
    options.width = 512;
    options.height = 384;
    options.tile_width = 256;
    options.tile_height = 192;
    return DngPhoto(options).bytes;
}

/// The first sector after a share of the raw image, in hundredths.
std::size_t sector_at(const Bytes& file, std::size_t hundredths) {
    const auto range = Sample::read(file)->range();
    return static_cast<std::size_t>(range.offset + range.length * hundredths / 100) / kSectorBytes *
           kSectorBytes;
}

Bytes put_in(const Bytes& file, std::size_t at, const Bytes& foreign) {
    return joined(joined(part(file, 0, at), foreign), part(file, at, file.size()));
}

Bytes swapped(const Bytes& file, std::size_t first, std::size_t second, std::size_t count) {
    Bytes result = file;
    std::swap_ranges(result.begin() + static_cast<std::ptrdiff_t>(first),
                     result.begin() + static_cast<std::ptrdiff_t>(first + count),
                     result.begin() + static_cast<std::ptrdiff_t>(second));
    return result;
}

Bytes overwritten(Bytes file, std::size_t at, const Bytes& foreign) {
    std::copy(foreign.begin(), foreign.end(), file.begin() + static_cast<std::ptrdiff_t>(at));
    return file;
}

struct Outcome {
    FoundImage image;
    std::optional<RawPicture> picture;
};

Outcome repair(const Bytes& damaged, const Bytes& intact) {
    const auto sample = Sample::read(intact);
    auto repaired = raw_mend::repair(damaged, *sample);
    if (!repaired || !repaired->file) {
        return {};
    }
    auto picture = decode_raw(written(*repaired->file));
    return {std::move(repaired->image), std::move(picture)};
}

std::size_t pixels_of(const std::vector<Area>& areas) {
    std::size_t pixels = 0;
    for (const Area& area : areas) {
        pixels += std::size_t{area.width} * area.height;
    }
    return pixels;
}

bool is_in(const std::vector<Area>& areas, std::size_t column, std::size_t row) {
    return std::ranges::any_of(areas, [&](const Area& area) {
        return column >= area.left && column < area.left + area.width && row >= area.top &&
               row < area.top + area.height;
    });
}

/// Pixels that are wrong although they are promised.
std::size_t broken_promises(const Outcome& outcome, const RawPicture& original) {
    std::size_t count = 0;
    for (std::size_t at = 0; at < original.samples.size(); ++at) {
        const std::size_t row = at / original.width;
        const std::size_t column = at % original.width;
        const bool is_promised =
            !is_in(outcome.image.lost, column, row) && !is_in(outcome.image.doubtful, column, row);
        count += is_promised && outcome.picture->samples[at] != original.samples[at] ? 1U : 0U;
    }
    return count;
}

void expect_whole(const Outcome& outcome, const Bytes& original) {
    ASSERT_TRUE(outcome.picture);
    EXPECT_TRUE(*outcome.picture == *decode_raw(original));
    EXPECT_EQ(outcome.image.proved, outcome.image.pieces.size());
    EXPECT_TRUE(outcome.image.lost.empty());
    EXPECT_TRUE(outcome.image.doubtful.empty());
}

TEST(MendStreams, LeavesWholePhotographsAlone) {
    for (const auto& make : {cr2, dng}) {
        const Bytes original = make(2);
        for (const Bytes& file :
             {original, put_in(original, 0, noise(1000, 1)), overwritten(original, 0, Bytes(64, 0))}) {
            const Outcome outcome = repair(file, make(1));
            expect_whole(outcome, original);
            EXPECT_TRUE(outcome.image.mended.empty());
        }
    }
}

TEST(MendStreams, TakesForeignClustersOut) {
    for (const auto& make : {cr2, dng}) {
        const Bytes original = make(2);
        for (const std::size_t size : {kSectorBytes, kCluster}) {
            for (const std::size_t place : {10U, 35U, 62U, 90U}) {
                SCOPED_TRACE(testing::Message() << size << " bytes at " << place);
                const Bytes damaged = put_in(original, sector_at(original, place),
                                             noise(size, static_cast<std::uint32_t>(place)));
                expect_whole(repair(damaged, make(1)), original);
            }
        }
    }
}

TEST(MendStreams, PutsExchangedClustersBack) {
    const Bytes original = cr2(2);
    const Bytes damaged = swapped(original, sector_at(original, 20), sector_at(original, 60), kCluster);
    expect_whole(repair(damaged, cr2(1)), original);
}

TEST(MendStreams, PromisesOnlyWhatSurvives) {
    for (const auto& make : {cr2, dng}) {
        const Bytes original = make(2);
        const auto picture = decode_raw(original);
        ASSERT_TRUE(picture);
        for (const std::size_t place : {15U, 40U, 77U}) {
            const std::size_t at = sector_at(original, place);
            const Bytes without =
                joined(part(original, 0, at), part(original, at + kCluster, original.size()));
            const Bytes foreign = noise(kCluster, static_cast<std::uint32_t>(place));
            for (const Bytes& damaged : {overwritten(original, at, foreign), without}) {
                SCOPED_TRACE(place);
                const Outcome outcome = repair(damaged, make(1));
                ASSERT_TRUE(outcome.picture);
                EXPECT_EQ(outcome.picture->errors, 0U);
                EXPECT_LT(outcome.image.proved, outcome.image.pieces.size());
                EXPECT_LE(broken_promises(outcome, *picture), picture->samples.size() / 200);
                EXPECT_GT(pixels_of(outcome.image.lost), 0U);
            }
        }
    }
}

TEST(MendStreamsRealFiles, PromisesNothingOfATileThatIsShort) {
    REAL_FILE_OR_SKIP(original, "pairs/nikon-d5000-dng/sample2.dng");
    REAL_FILE_OR_SKIP(sample, "pairs/nikon-d5000-dng/sample1.dng");
    constexpr std::size_t kAt = 8489472; // Nothing shows where values are missing in this tile.
    const Bytes damaged = joined(part(original, 0, kAt), part(original, kAt + kCluster, original.size()));
    const auto picture = decode_raw(original);
    const Outcome outcome = repair(damaged, sample);
    ASSERT_TRUE(outcome.picture && picture);
    EXPECT_EQ(outcome.image.proved, outcome.image.pieces.size() - 1);
    EXPECT_EQ(broken_promises(outcome, *picture), 0U);
}

TEST(MendStreamsRealFiles, BringsTheRestBackToItsLevel) {
    REAL_FILE_OR_SKIP(iso_100, "pairs/canon-30d/IMG_0848.CR2");
    REAL_FILE_OR_SKIP(iso_640, "pairs/canon-30d/IMG_5952.CR2");
    // By the rows beside them alone, these are one level off after the damage. The last one has as many codes
    // as the whole stream by chance.
    for (const auto& [original, sample, at] : {std::tuple{&iso_100, &iso_640, std::size_t{6129664}},
                                               {&iso_640, &iso_100, std::size_t{4905984}},
                                               {&iso_640, &iso_100, std::size_t{3821056}}}) {
        const auto picture = decode_raw(*original);
        const Outcome outcome = repair(overwritten(*original, at, Bytes(kCluster, 0)), *sample);
        ASSERT_TRUE(outcome.picture && picture);
        EXPECT_EQ(broken_promises(outcome, *picture), 0U) << at;
        EXPECT_LT(pixels_of(outcome.image.lost) + pixels_of(outcome.image.doubtful),
                  picture->samples.size() / 100)
            << at;
    }
}

TEST(MendStreamsRealFiles, ProvesWhatIsBetweenSeveralLosses) {
    REAL_FILE_OR_SKIP(original, "pairs/canon-30d/IMG_0848.CR2");
    REAL_FILE_OR_SKIP(sample, "pairs/canon-30d/IMG_5952.CR2");
    Bytes damaged;
    std::size_t begin = 0;
    for (const std::size_t lost : {2940928U, 3805184U, 7020544U}) {
        damaged = joined(damaged, part(original, begin, lost));
        begin = lost + kCluster;
    }
    damaged = joined(damaged, part(original, begin, original.size()));
    const auto picture = decode_raw(original);
    const Outcome outcome = repair(damaged, sample);
    ASSERT_TRUE(outcome.picture && picture);
    EXPECT_EQ(broken_promises(outcome, *picture), 0U);
    EXPECT_LT(pixels_of(outcome.image.lost) + pixels_of(outcome.image.doubtful),
              picture->samples.size() / 50);
}

/// A stream whose values are up to 3000 in the first half of its rows, and up to another one in the rest.
Bytes stream_up_to(int most) {
    constexpr unsigned kColumns = 128;
    constexpr unsigned kRows = 64;
    std::vector<int> differences;
    int left = 0;
    int above = 1 << 13;
    for (unsigned at = 0; at < kColumns * kRows; ++at) {
        const int value = (at / kColumns < kRows / 2 ? 3000 : most) - static_cast<int>(at * 7919 % 97);
        const bool is_first = at % kColumns == 0;
        differences.push_back(value - (is_first ? above : left));
        left = value;
        above = is_first ? value : above;
    }
    LosslessJpegOptions options;
    options.tables = {codes_for_16_bits()};
    return lossless_jpeg_of(differences, kColumns, kRows, options);
}

TEST(CheckedStream, IsImpossibleWithValuesThatNoEncoderWrites) {
    constexpr std::array<std::uint64_t, 1> kOrigins{0};
    const Bytes plain = stream_up_to(4000);
    const Bytes odd = stream_up_to(20000);
    const auto check = [&](const Bytes& stream, const Bytes& sample) {
        return raw_mend::check_values(stream, *lossless_jpeg::read_head(stream, 0), stream.size(), sample,
                                      *lossless_jpeg::read_head(sample, 0), kOrigins);
    };
    ASSERT_TRUE(lossless_jpeg::check(odd, *lossless_jpeg::read_head(odd, 0)).is_complete());
    EXPECT_TRUE(check(plain, plain).is_possible);
    EXPECT_FALSE(check(odd, plain).is_possible);
    EXPECT_FALSE(check(odd, plain).reordered);
    EXPECT_TRUE(check(odd, odd).is_possible) << "this camera writes such values";
}

TEST(MendStreams, KeepsTilesWhereTheFilesOwnTablesNameThem) {
    const auto make = [](unsigned number) {
        DngPhoto::Options options;
        options.number = number;
        options.width = 512;
        options.height = 384;
        options.tile_width = 128;
        options.tile_height = 128;
        return DngPhoto(options);
    };
    const DngPhoto original = make(2);
    const Bytes sample = make(1).bytes;
    const Bytes other = make(3).bytes;
    const auto picture = decode_raw(original.bytes);
    const auto outcome_with = [&](std::size_t from, std::size_t to) {
        const Bytes damaged = overwritten(
            original.bytes, from, part(other, from, std::min({to, other.size(), original.bytes.size()})));
        return repair(damaged, sample);
    };
    const std::size_t begin = original.tile_offsets[0];
    const std::size_t length = original.bytes.size() - begin;
    const std::size_t third = original.tile_offsets[3] - begin;
    for (const auto& [from, to, least] : {std::tuple{length * 7 / 10, length, 0.6},
                                          {third, third + length * 3 / 10, 0.5},
                                          {length / 100, length / 5, 0.7}}) {
        const Outcome outcome = outcome_with(begin + from, begin + to);
        ASSERT_TRUE(outcome.picture) << from;
        EXPECT_TRUE(outcome.image.doubts.empty()) << outcome.image.doubts.front();
        EXPECT_EQ(broken_promises(outcome, *picture), 0U) << from;
        const std::size_t open = pixels_of(outcome.image.lost) + pixels_of(outcome.image.doubtful);
        EXPECT_GE(1 - static_cast<double>(open) / static_cast<double>(picture->samples.size()), least)
            << from;
    }
}

TEST(MendStreams, CompletesAnEoiThatTheFileEndsIn) {
    for (const auto& make : {cr2, dng}) {
        const Bytes original = make(2);
        ASSERT_EQ(original[original.size() - 1], 0xD9);
        for (const std::size_t lost : {1U, 2U}) {
            expect_whole(repair(part(original, 0, original.size() - lost), make(1)), original);
        }
    }
}

TEST(MendStreams, FillsTilesThatAreLostAltogether) {
    const Bytes original = dng(2);
    const auto described = Sample::read(original);
    ASSERT_TRUE(described);
    const raw_mend::Extent tile = described->description.raw.pieces[2].data;
    const Bytes damaged = overwritten(original, static_cast<std::size_t>(tile.offset),
                                      Bytes(static_cast<std::size_t>(tile.length), 0));
    const Outcome outcome = repair(damaged, dng(1));
    ASSERT_TRUE(outcome.picture);
    EXPECT_EQ(outcome.picture->errors, 0U);
    EXPECT_EQ(outcome.image.lost, (std::vector<Area>{{0, 192, 256, 192}}));
    EXPECT_EQ(broken_promises(outcome, *decode_raw(original)), 0U);
}

TEST(MendStreams, KeepsWhatIsBeforeTheEndOfATruncatedFile) {
    constexpr unsigned kHeight = 1024; // Of smaller ones, nothing is promised.
    const Bytes original = cr2_of_height(2, kHeight);
    const auto picture = decode_raw(original);
    const Outcome outcome = repair(part(original, 0, sector_at(original, 50)), cr2_of_height(1, kHeight));
    ASSERT_TRUE(outcome.picture && picture);
    EXPECT_EQ(outcome.picture->errors, 0U);
    EXPECT_EQ(broken_promises(outcome, *picture), 0U);
    EXPECT_LT(pixels_of(outcome.image.lost) + pixels_of(outcome.image.doubtful),
              picture->samples.size() * 55 / 100);
}

TEST(StreamAreas, FollowSlices) {
    raw_mend::Image raw;
    raw.frame.width = 10;
    raw.frame.height = 4;
    raw.frame.piece_width = 10;
    raw.frame.piece_height = 4;
    raw.pieces.resize(1);
    raw.slices = {6, 4};
    // The last two pixels of the first slice's third row, its fourth row, and six of the second slice's.
    EXPECT_EQ(raw_mend::areas_of(raw, 0, 40, {16, 30}),
              (std::vector<Area>{{4, 2, 2, 1}, {0, 3, 6, 1}, {6, 0, 4, 1}, {6, 1, 2, 1}}));
    EXPECT_EQ(raw_mend::areas_of(raw, 0, 40, {0, 40}), (std::vector<Area>{{0, 0, 6, 4}, {6, 0, 4, 4}}));
}

TEST(StreamAreas, FollowTilesThatReachBeyondTheFrame) {
    raw_mend::Image raw;
    raw.frame.width = 10;
    raw.frame.height = 7;
    raw.frame.piece_width = 8;
    raw.frame.piece_height = 4;
    raw.pieces.resize(4);
    EXPECT_EQ(raw_mend::area_of_piece(raw, 3), (std::vector<Area>{{8, 4, 2, 3}}));
    EXPECT_EQ(raw_mend::areas_of(raw, 1, 32, {9, 24}), (std::vector<Area>{{9, 1, 1, 1}, {8, 2, 2, 1}}));
    EXPECT_EQ(raw_mend::areas_of(raw, 1, 31, {9, 24}), (std::vector<Area>{{8, 0, 2, 4}}))
        << "a stream of another size says nothing about places";
}

/// Values as the library decodes them.
std::vector<std::uint16_t> decode_all(const Bytes& stream, const lossless_jpeg::Head& head) {
    std::vector<std::uint16_t> values;
    const auto decoded =
        lossless_jpeg::decode(stream, head, [&](std::uint64_t, std::span<const std::uint16_t> row) {
            values.insert(values.end(), row.begin(), row.end());
        });
    EXPECT_TRUE(decoded.progress.is_complete());
    return values;
}

Bytes some_stream(unsigned components, unsigned predictor) {
    std::mt19937 random(components * 10 + predictor);
    std::vector<std::uint16_t> samples(std::size_t{40} * 30 * components);
    for (auto& sample : samples) {
        sample = static_cast<std::uint16_t>(4000 + random() % 4000);
    }
    LosslessJpegOptions options;
    options.components = components;
    options.predictor = predictor;
    return lossless_jpeg(samples, 40, 30, options);
}

TEST(StreamFrame, DecodesAsTheLibraryDoesFromAnyBit) {
    for (unsigned predictor = 1; predictor <= 7; ++predictor) {
        for (const unsigned components : {1U, 2U, 4U}) {
            const Bytes stream = some_stream(components, predictor);
            const auto head = lossless_jpeg::read_head(stream, 0);
            ASSERT_TRUE(head);
            const auto expected = decode_all(stream, *head);
            const raw_mend::StreamFrame frame(*head);
            const lossless_jpeg::ComponentTables tables(*head);
            std::vector<std::uint16_t> values(frame.count());
            lossless_jpeg::DifferenceReader reader(stream, tables, {head->end, 0});
            std::size_t at = 0;
            for (std::size_t step = 1; at < values.size(); step = step % 50 + 7) {
                const std::size_t next = std::min(at + step, values.size());
                ASSERT_EQ(decode_values(reader, frame, values, at, next), next);
                at = next;
                reader = lossless_jpeg::DifferenceReader(stream, tables, reader.place());
            }
            EXPECT_EQ(values, expected) << components << ", " << predictor;
        }
    }
}

TEST(DifferenceWriter, WritesWhatWasRead) {
    const Bytes stream = some_stream(2, 1);
    const auto head = lossless_jpeg::read_head(stream, 0);
    ASSERT_TRUE(head);
    const raw_mend::StreamFrame frame(*head);
    const lossless_jpeg::ComponentTables tables(*head);
    for (const std::size_t kept : {0U, 1U, 77U, 500U}) {
        lossless_jpeg::DifferenceReader reader(stream, tables, {head->end, 0});
        lossless_jpeg::DifferenceWriter writer(*head);
        std::uint16_t difference = 0;
        std::size_t at = 0;
        for (; at < kept; ++at) {
            ASSERT_TRUE(reader.take(at % 2, difference));
        }
        const auto place = reader.place();
        const auto byte = static_cast<std::size_t>(place.byte);
        writer.begin(part(stream, 0, byte), place.bit == 0 ? 0 : stream[byte], place.bit);
        for (; at < frame.count(); ++at) {
            ASSERT_TRUE(reader.take(at % 2, difference));
            const int number = static_cast<std::int16_t>(difference);
            EXPECT_EQ(writer.put(at % 2, number == -32768 ? 32768 : number), number);
        }
        EXPECT_EQ(writer.finish(), stream) << kept;
    }
}

TEST(DifferenceWriter, TakesTheNearestDifferenceThatHasACode) {
    LosslessJpegOptions options;
    options.tables = {{{0, 3}, {0, 3, 5}}}; // 0, 4 to 7 and 16 to 31, and their negatives.
    const Bytes stream = lossless_jpeg_of({0, 4, -20, 31}, 4, 1, options);
    const auto head = lossless_jpeg::read_head(stream, 0);
    ASSERT_TRUE(head);
    lossless_jpeg::DifferenceWriter writer(*head);
    writer.begin({}, 0, 0);
    EXPECT_EQ(writer.put(0, 5), 5);
    EXPECT_EQ(writer.put(0, 1), 0);
    EXPECT_EQ(writer.put(0, -3), -4);
    EXPECT_EQ(writer.put(0, 9), 7);
    EXPECT_EQ(writer.put(0, 14), 16);
    EXPECT_EQ(writer.put(0, -500), -31);
}

std::vector<std::uint64_t> sectors_of(const Bytes& file, const std::vector<std::uint64_t>& origins) {
    return raw_mend::find_sectors(file, origins);
}

/// As entropy-coded data may be: without any marker.
Bytes coded_bytes(std::size_t count, unsigned number) {
    Bytes bytes = noise(count, number);
    std::ranges::replace(bytes, static_cast<unsigned char>(0xFF), static_cast<unsigned char>(0));
    return bytes;
}

TEST(StreamSectors, AreAllButThoseWithinLongFiller) {
    const Bytes data = coded_bytes(3 * kSectorBytes + 100, 1);
    const Bytes file = joined(joined(data, Bytes(20 * kSectorBytes, 0xFF)), coded_bytes(kSectorBytes, 2));
    // The filler is from byte 100 of sector 3 to byte 100 of sector 23.
    const std::vector<std::uint64_t> expected{0, 512, 1024, 1536, 24 * kSectorBytes};
    EXPECT_EQ(sectors_of(file, {0}), expected) << "FF and another byte are in sector 23";
    const std::vector<std::uint64_t> from_100{100, 612, 1124, 23 * kSectorBytes + 100};
    EXPECT_EQ(sectors_of(file, {100}), from_100);
    EXPECT_EQ(sectors_of(file, {0, 100}).size(), expected.size() + from_100.size());
}

TEST(StreamSectors, OfShortFillerAreKept) {
    const Bytes file = joined(joined(coded_bytes(512, 1), Bytes(6 * kSectorBytes)), coded_bytes(700, 2));
    EXPECT_EQ(sectors_of(file, {0}).size(), 9U);
    EXPECT_TRUE(sectors_of({}, {0}).empty());
    EXPECT_TRUE(sectors_of(Bytes(100000), {0}).empty());
}

TEST(StreamSectors, HaveNoMarkerExceptTheLast) {
    const Bytes data = coded_bytes(2 * kSectorBytes, 1);
    const auto with_marker = [&](unsigned char code) { return with(data, 700, {0xFF, code}); };
    const std::vector<std::uint64_t> both{0, 512};
    const std::vector<std::uint64_t> first{0};
    EXPECT_EQ(sectors_of(with_marker(0x00), {0}), both); // Stuffed.
    EXPECT_EQ(sectors_of(with_marker(0xD9), {0}), both);
    EXPECT_EQ(sectors_of(with(data, 700, {0xFF, 0xFF, 0xD9}), {0}), both);
    EXPECT_EQ(sectors_of(with(data, 700, {0xFF, 0xD9, 0xFF, 0xD8}), {0}), both) << "the next stream begins";
    EXPECT_EQ(sectors_of(with_marker(0xD8), {0}), first);
    EXPECT_EQ(sectors_of(with_marker(0x01), {0}), first);
    EXPECT_EQ(sectors_of(with(data, 511, {0xFF, 0x01}), {0}),
              both); // What follows a sector may be elsewhere.
}

} // namespace
} // namespace test
