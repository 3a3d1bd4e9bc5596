#include "locate/CodedHeads.h"

#include "CodedPhoto.h"

#include "support/LosslessJpeg.h"

#include <gtest/gtest.h>

#include <chrono>

namespace test {
namespace {

using raw_mend::ByteRange;
using raw_mend::CodedPlace;
using raw_mend::CodedSample;
using raw_mend::find_coded_streams;

CodedSample sample_of(const CodedPhoto& photo) {
    auto sample = CodedSample::read(photo.bytes, photo.streams);
    EXPECT_TRUE(sample);
    return sample.value();
}

void expect_all_proved(const std::vector<CodedPlace>& places, const std::vector<ByteRange>& streams,
                       std::uint64_t displacement = 0) {
    ASSERT_EQ(places.size(), streams.size());
    for (std::size_t nth = 0; nth < places.size(); ++nth) {
        EXPECT_EQ(places[nth].offset, streams[nth].begin + displacement);
        EXPECT_EQ(places[nth].end, streams[nth].end + displacement);
        EXPECT_TRUE(places[nth].proved);
        EXPECT_TRUE(places[nth].end_known);
        EXPECT_EQ(places[nth].fault, places[nth].end - 2);
    }
}

// -- What a sample says

TEST(CodedSample, LearnsThePaddingBetweenStreams) {
    for (const std::size_t alignment : {1U, 2U, 16U, 512U}) {
        CodedPhoto::Options options;
        options.alignment = alignment;
        options.before = 3001;
        const auto sample = sample_of(CodedPhoto(options));
        EXPECT_LE(sample.spacing().alignment, alignment);
        for (std::size_t nth = 1; nth < sample.count(); ++nth) {
            EXPECT_TRUE(sample.spacing().allows(sample.streams()[nth - 1], sample.streams()[nth].begin));
        }
        EXPECT_FALSE(sample.spacing().allows({1000, 1999}, 3024));
        EXPECT_FALSE(sample.spacing().allows({1000, 1999}, 1998));
    }
}

TEST(CodedSample, OtherBytesBetweenStreamsAreARangeOfGaps) {
    const CodedPhoto one(CodedPhoto::Options{.seed = 1, .pieces = 1, .before = 0});
    const CodedPhoto other(CodedPhoto::Options{.seed = 2, .pieces = 1, .before = 40});
    const CodedPhoto third(CodedPhoto::Options{.seed = 3, .pieces = 1, .before = 53});
    const Bytes bytes = joined(joined(one.bytes, other.bytes), third.bytes);
    const std::uint64_t second = one.bytes.size() + 40;
    const std::uint64_t last = one.bytes.size() + other.bytes.size() + 53;
    const std::vector<ByteRange> pieces{
        {0, one.bytes.size()}, {second, second + other.bytes.size() - 40}, {last, bytes.size()}};
    const auto sample = CodedSample::read(bytes, pieces);
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->spacing().alignment, 0U);
    EXPECT_TRUE(sample->spacing().allows({0, 100}, 140));
    EXPECT_TRUE(sample->spacing().allows({0, 100}, 153));
    EXPECT_FALSE(sample->spacing().allows({0, 100}, 139));
    EXPECT_FALSE(sample->spacing().allows({0, 100}, 154));
}

TEST(CodedSample, PiecesMayBeInAnyOrderInTheFile) {
    const CodedPhoto photo({});
    auto pieces = photo.streams;
    std::swap(pieces[0], pieces[4]);
    const auto sample = CodedSample::read(photo.bytes, pieces);
    ASSERT_TRUE(sample);
    EXPECT_EQ(sample->streams(), photo.streams);
    EXPECT_EQ(sample->pieces(), (std::vector<std::size_t>{4, 1, 2, 3, 0, 5}));
}

TEST(CodedSample, IsRefusedUnlessAllStreamsAreComplete) {
    const CodedPhoto photo({});
    const auto refused = [&](const Bytes& bytes, const std::vector<ByteRange>& pieces) {
        return !CodedSample::read(bytes, pieces);
    };
    EXPECT_FALSE(refused(photo.bytes, photo.streams));
    EXPECT_TRUE(refused(photo.bytes, {}));
    EXPECT_TRUE(refused(photo.bytes, {{0, 100}})) << "no stream";
    EXPECT_TRUE(refused(photo.bytes, {{photo.streams[0].begin, photo.streams[0].end - 1}}))
        << "EOI is outside";
    EXPECT_TRUE(refused(photo.bytes, {photo.streams[0], photo.streams[0]})) << "overlap";
    EXPECT_TRUE(refused(photo.bytes, {{photo.streams[5].begin, photo.bytes.size() + 1}})) << "outside";
    EXPECT_TRUE(refused(photo.bytes, {{photo.streams[5].end, photo.streams[5].begin}})) << "negative";
    EXPECT_TRUE(refused(photo.bytes, {{~std::uint64_t{0} - 1, ~std::uint64_t{0}}})) << "far outside";
    Bytes damaged = photo.bytes;
    put_bytes(damaged, static_cast<std::size_t>(photo.streams[2].begin) + 500, Bytes(64, 0xFF));
    EXPECT_TRUE(refused(damaged, photo.streams));
}

// -- Places

TEST(CodedHeads, AreFoundWithProofInAnotherPhotograph) {
    for (const bool own_tables : {false, true}) {
        CodedPhoto::Options options;
        options.own_tables = own_tables;
        options.alignment = 2;
        options.last_rows = 40;
        const auto sample = sample_of(CodedPhoto(options));
        options.seed = 2;
        options.before = 4711;
        options.after = 900;
        const CodedPhoto damaged(options);
        const auto places = find_coded_streams(damaged.bytes, sample);
        expect_all_proved(places, damaged.streams);
        for (const CodedPlace& place : places) {
            EXPECT_FALSE(place.exact_head) << "those of the sample differ";
        }
        expect_all_proved(find_coded_streams(joined(noise(1001, 1), damaged.bytes), sample), damaged.streams,
                          1001);
    }
}

TEST(CodedHeads, ExactHeadIsTheSamples) {
    const auto sample = sample_of(CodedPhoto(CodedPhoto::Options{.seed = 1}));
    const CodedPhoto same(CodedPhoto::Options{.seed = 2});
    const CodedPhoto other(CodedPhoto::Options{.seed = 2, .own_tables = true});
    for (const CodedPlace& place : find_coded_streams(same.bytes, sample)) {
        EXPECT_TRUE(place.exact_head);
    }
    std::size_t exact = 0;
    for (const CodedPlace& place : find_coded_streams(other.bytes, sample)) {
        exact += place.exact_head ? 1U : 0U;
    }
    EXPECT_EQ(exact, 2U) << "every third has the usual table";
}

TEST(CodedHeads, OtherPicturesAreNone) {
    const auto sample = sample_of(CodedPhoto({}));
    LosslessJpegOptions options;
    const auto zeros = [&](unsigned columns, unsigned rows) {
        return lossless_jpeg_of(std::vector<int>(std::size_t{columns} * rows, 0), columns, rows, options);
    };
    EXPECT_EQ(find_coded_streams(zeros(64, 48), sample).size(), 1U);
    EXPECT_EQ(find_coded_streams(zeros(64, 47), sample).size(), 0U) << "another frame";
    EXPECT_EQ(find_coded_streams(zeros(63, 48), sample).size(), 0U) << "another frame";
    options.bits = 12;
    EXPECT_EQ(find_coded_streams(zeros(64, 48), sample).size(), 0U) << "another precision";
    options.bits = 14;
    options.frame_first = true;
    EXPECT_EQ(find_coded_streams(zeros(64, 48), sample).size(), 0U) << "another order";
    options.frame_first = false;
    options.more_segments = {0xFF, 0xFE, 0, 2};
    EXPECT_EQ(find_coded_streams(zeros(64, 48), sample).size(), 0U) << "another segment";
}

TEST(CodedHeads, DamagedStreamIsNotProvedButItsEndIsKnown) {
    CodedPhoto::Options options;
    options.alignment = 2;
    const auto sample = sample_of(CodedPhoto(options));
    options.seed = 2;
    const CodedPhoto photo(options);
    for (std::size_t nth = 0; nth < photo.streams.size(); ++nth) {
        const auto middle =
            static_cast<std::size_t>(photo.streams[nth].begin + photo.streams[nth].length() / 2);
        Bytes damaged = photo.bytes;
        put_bytes(damaged, middle, {0xFF, 0xD9}); // A false EOI.
        put_bytes(damaged, middle + 2, noise(300, 1));
        const auto places = find_coded_streams(damaged, sample);
        ASSERT_EQ(places.size(), photo.streams.size());
        for (std::size_t other = 0; other < places.size(); ++other) {
            EXPECT_EQ(places[other].proved, other != nth);
            EXPECT_TRUE(places[other].end_known);
            EXPECT_EQ(places[other].range(), photo.streams[other]);
        }
        EXPECT_LE(places[nth].fault, middle);
        EXPECT_GT(places[nth].fault + 4, middle) << "in the difference that is cut off";
        EXPECT_LT(places[nth].samples, std::uint64_t{64} * 48);
    }
}

TEST(CodedHeads, SingleStreamEndsAtTheLastEoi) {
    CodedPhoto::Options options;
    options.pieces = 1;
    options.after = 500;
    const auto sample = sample_of(CodedPhoto(options));
    options.seed = 2;
    options.after = 700;
    CodedPhoto photo(options);
    const auto middle = static_cast<std::size_t>(photo.streams[0].begin + 1500);
    put_bytes(photo.bytes, middle, {0xFF, 0xD9, 0x55, 0xFF, 0xD9});
    const auto places = find_coded_streams(photo.bytes, sample);
    ASSERT_EQ(places.size(), 1U);
    EXPECT_FALSE(places[0].proved);
    EXPECT_FALSE(places[0].end_known);
    EXPECT_EQ(places[0].end, photo.streams[0].end);
}

TEST(CodedHeads, TruncatedFileEndsInAStream) {
    const CodedPhoto photo({});
    const auto sample = sample_of(photo);
    for (const std::uint64_t kept : {200U, 1000U, 2000U}) {
        const std::uint64_t size = photo.streams[3].begin + kept;
        const auto places = find_coded_streams(part(photo.bytes, 0, static_cast<std::size_t>(size)), sample);
        ASSERT_EQ(places.size(), 4U);
        EXPECT_FALSE(places[3].proved);
        EXPECT_FALSE(places[3].end_known);
        EXPECT_EQ(places[3].end, size);
    }
}

TEST(CodedHeads, AnyBytesAreTaken) {
    const auto sample = sample_of(CodedPhoto({}));
    const CodedPhoto photo(CodedPhoto::Options{.seed = 2});
    EXPECT_TRUE(find_coded_streams({}, sample).empty());
    for (std::uint32_t seed = 0; seed < 300; ++seed) {
        Bytes bytes = photo.bytes;
        for (std::uint32_t change = 0; change < 5; ++change) {
            put_bytes(bytes, std::size_t{50} * noise(4, seed * 5 + change)[0],
                      noise(seed % 90, seed * 5 + change));
        }
        bytes.resize(bytes.size() - seed);
        std::uint64_t before = 0;
        for (const CodedPlace& place : find_coded_streams(bytes, sample)) {
            EXPECT_GE(place.offset, before);
            EXPECT_GE(place.end, place.data);
            before = place.end;
        }
        EXPECT_LE(before, bytes.size());
    }
}

TEST(CodedHeads, ManyHeadsTakeTimeForTheirBytesOnly) {
    // A frame with the most samples, and a file of nothing but such heads: each could take a second.
    LosslessJpegOptions options;
    const Bytes stream = lossless_jpeg_of(std::vector<int>(std::size_t{65535} * 16, 0), 65535, 16, options);
    const std::vector<ByteRange> pieces{{0, stream.size()}};
    const auto sample = CodedSample::read(stream, pieces);
    ASSERT_TRUE(sample);
    Bytes heads;
    while (heads.size() < 2000000) {
        heads.insert(heads.end(), stream.begin(), stream.begin() + 80);
    }
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(find_coded_streams(heads, *sample).size(), heads.size() / 80);
    EXPECT_EQ(find_coded_streams(Bytes(2000000, 0xFF), *sample).size(), 0U);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(20));
}

} // namespace
} // namespace test
