#include <lossless_jpeg/Stream.h>

#include "support/LosslessJpeg.h"
#include "support/RealFiles.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

#include <random>

namespace test {
namespace {

using lossless_jpeg::Fault;
using lossless_jpeg::Progress;

using Samples = std::vector<std::uint16_t>;

constexpr unsigned kColumns = 24;
constexpr unsigned kRows = 18;

/// Samples that a predictor cannot guess, of at most this many bits.
Samples samples_of(unsigned bits, unsigned components, std::uint32_t seed = 1) {
    std::mt19937 random(seed);
    Samples samples(std::size_t{kColumns} * kRows * components);
    for (auto& sample : samples) {
        const std::uint32_t kind = random() % 8;
        const std::uint32_t low = random() % 16;
        sample = static_cast<std::uint16_t>((kind == 0 ? random() : low) & ((1U << bits) - 1U));
    }
    return samples;
}

std::optional<lossless_jpeg::Head> head_of(const Bytes& bytes) {
    return lossless_jpeg::read_head(bytes, 0);
}

Progress checked(const Bytes& bytes) {
    const auto head = head_of(bytes);
    EXPECT_TRUE(head);
    return head ? lossless_jpeg::check(bytes, *head) : Progress{};
}

struct DecodedSamples {
    lossless_jpeg::Decoded decoded;
    Samples samples;
};

DecodedSamples decoded(const Bytes& bytes) {
    const auto head = head_of(bytes);
    DecodedSamples result;
    if (!head || !lossless_jpeg::can_decode(*head)) {
        ADD_FAILURE() << "cannot be decoded";
        return result;
    }
    std::uint64_t next = 0;
    result.decoded =
        lossless_jpeg::decode(bytes, *head, [&](std::uint64_t row, std::span<const std::uint16_t> samples) {
            EXPECT_EQ(row, next++);
            result.samples.insert(result.samples.end(), samples.begin(), samples.end());
        });
    return result;
}

/// Codes of 1 to 16 bits: most of them longer than any table of a decoder.
DifferenceCodes long_codes() {
    return {{1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 10},
            {0, 4, 3, 2, 1, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}};
}

LosslessJpegOptions with_16_bits() {
    LosslessJpegOptions options;
    options.bits = 16;
    options.tables = {codes_for_16_bits()};
    return options;
}

// -- The head

TEST(LosslessJpegHead, SaysWhatItIsAndWhereItEnds) {
    LosslessJpegOptions options;
    options.bits = 12;
    options.components = 3;
    options.predictor = 6;
    options.point_transform = 2;
    options.restart_interval = 2 * kColumns;
    options.tables = {codes_for_14_bits(), codes_for_16_bits()};
    const Bytes jpeg = lossless_jpeg(samples_of(12, 3), kColumns, kRows, options);
    const Bytes before = noise(77, 1);
    const auto head = lossless_jpeg::read_head(joined(before, jpeg), before.size());
    ASSERT_TRUE(head);
    EXPECT_EQ(head->begin, 77U);
    EXPECT_EQ(head->precision, 12U);
    EXPECT_EQ(head->width, kColumns);
    EXPECT_EQ(head->height, kRows);
    EXPECT_EQ(head->predictor, 6U);
    EXPECT_EQ(head->point_transform, 2U);
    EXPECT_EQ(head->restart_interval, 2 * kColumns);
    ASSERT_EQ(head->components.size(), 3U);
    EXPECT_EQ(head->components[0], (lossless_jpeg::Component{1, 1, 1, 0}));
    EXPECT_EQ(head->components[2], (lossless_jpeg::Component{3, 1, 1, 1}));
    EXPECT_EQ(head->samples(), std::uint64_t{kColumns} * kRows * 3);
    ASSERT_EQ(head->segments.size(), 4U);
    EXPECT_EQ(head->segments[0], (lossless_jpeg::Segment{0xC4, 79, 68}));
    EXPECT_EQ(head->segments[3].code, 0xDA);
    EXPECT_EQ(head->end, head->segments[3].offset + 2 + head->segments[3].length);
}

TEST(LosslessJpegHead, SegmentsMayBeInAnyOrderAndHaveFillBytes) {
    LosslessJpegOptions options;
    options.components = 2;
    options.tables = {codes_for_14_bits(), long_codes()};
    options.frame_first = true;
    options.one_table_segment = false;
    options.more_segments = {0xFF, 0xFF, 0xFF, 0xFE, 0, 5, 'a', 'b', 'c'};
    const auto samples = samples_of(14, 2);
    const Bytes jpeg = lossless_jpeg(samples, kColumns, kRows, options);
    const auto head = head_of(jpeg);
    ASSERT_TRUE(head);
    EXPECT_EQ(head->segments.size(), 5U);
    EXPECT_EQ(head->segments[0].code, 0xC3);
    EXPECT_EQ(head->segments[3].code, 0xFE);
    EXPECT_TRUE(checked(jpeg).is_complete());
    EXPECT_EQ(decoded(jpeg).samples, samples);
}

TEST(LosslessJpegHead, NoTruncatedOneIsRead) {
    const Bytes jpeg = lossless_jpeg(samples_of(14, 2), kColumns, kRows, 14, 2);
    const auto head = head_of(jpeg);
    ASSERT_TRUE(head);
    for (std::size_t size = 0; size < head->end; ++size) {
        EXPECT_FALSE(head_of(part(jpeg, 0, size))) << size;
    }
    EXPECT_FALSE(lossless_jpeg::read_head(jpeg, jpeg.size()));
    EXPECT_FALSE(lossless_jpeg::read_head(jpeg, ~std::uint64_t{0}));
}

TEST(LosslessJpegHead, RefusesWhatNoScanCanHave) {
    const Bytes jpeg = lossless_jpeg(samples_of(14, 1), kColumns, kRows);
    const auto head = head_of(jpeg);
    ASSERT_TRUE(head);
    const auto frame = static_cast<std::size_t>(head->segments[1].offset);
    const auto scan = static_cast<std::size_t>(head->segments[2].offset);
    EXPECT_FALSE(head_of(with(jpeg, frame + 1, {0xC0}))) << "baseline";
    EXPECT_FALSE(head_of(with(jpeg, frame + 1, {0xFE}))) << "no frame";
    EXPECT_FALSE(head_of(with(jpeg, frame + 5, {0, 0}))) << "no rows";
    EXPECT_FALSE(head_of(with(jpeg, frame + 7, {0, 0}))) << "no columns";
    EXPECT_FALSE(head_of(with(jpeg, frame + 9, {2}))) << "more components than the segment holds";
    EXPECT_FALSE(head_of(with(jpeg, scan + 4, {2}))) << "more components than the frame has";
    EXPECT_FALSE(head_of(with(jpeg, scan + 6, {0x10}))) << "a table that is not there";
    EXPECT_FALSE(head_of(with(jpeg, 7, {3}))) << "no prefix code";
    EXPECT_FALSE(head_of(with(jpeg, 23, {17}))) << "no category";
    EXPECT_FALSE(head_of(with(jpeg, scan + 1, {0xD9}))) << "EOI";
}

TEST(LosslessJpegHead, HasBoundedFillBytesAndSegments) {
    LosslessJpegOptions options;
    options.more_segments = Bytes(lossless_jpeg::kMostFillBytes, 0xFF);
    EXPECT_TRUE(head_of(lossless_jpeg(samples_of(14, 1), kColumns, kRows, options)));
    options.more_segments.push_back(0xFF);
    EXPECT_FALSE(head_of(lossless_jpeg(samples_of(14, 1), kColumns, kRows, options)));
    options.more_segments.clear();
    for (std::size_t nth = 0; nth + 3 < lossless_jpeg::kMostSegments; ++nth) {
        options.more_segments = joined(options.more_segments, {0xFF, 0xFE, 0, 2});
    }
    EXPECT_TRUE(head_of(lossless_jpeg(samples_of(14, 1), kColumns, kRows, options)));
    options.more_segments = joined(options.more_segments, {0xFF, 0xFE, 0, 2});
    EXPECT_FALSE(head_of(lossless_jpeg(samples_of(14, 1), kColumns, kRows, options)));
}

// -- Whole streams

TEST(LosslessJpegStream, EveryPredictorBitDepthAndNumberOfComponentsIsDecoded) {
    for (unsigned predictor = 1; predictor <= 7; ++predictor) {
        for (const unsigned bits : {2U, 8U, 12U, 14U, 16U}) {
            for (unsigned components = 1; components <= 4; ++components) {
                LosslessJpegOptions options = with_16_bits();
                options.bits = bits;
                options.components = components;
                options.predictor = predictor;
                const auto samples = samples_of(bits, components, predictor);
                const Bytes jpeg = lossless_jpeg(samples, kColumns, kRows, options);
                const auto result = decoded(jpeg);
                EXPECT_TRUE(result.decoded.progress.is_complete());
                EXPECT_EQ(result.decoded.rows, kRows);
                EXPECT_EQ(result.decoded.out_of_range, 0U);
                EXPECT_EQ(result.samples, samples) << predictor << ' ' << bits << ' ' << components;
                const Progress progress = checked(jpeg);
                EXPECT_TRUE(progress.is_complete());
                EXPECT_EQ(progress.samples, samples.size());
                EXPECT_EQ(progress.byte, jpeg.size() - 2);
                EXPECT_EQ(progress.end, jpeg.size());
            }
        }
    }
}

TEST(LosslessJpegStream, CodesOfAllLengthsAreDecoded) {
    for (unsigned components = 1; components <= 4; ++components) {
        LosslessJpegOptions options = with_16_bits();
        options.components = components;
        options.tables = {long_codes()};
        const auto samples = samples_of(16, components);
        const Bytes jpeg = lossless_jpeg(samples, kColumns, kRows, options);
        EXPECT_TRUE(checked(jpeg).is_complete());
        EXPECT_EQ(decoded(jpeg).samples, samples);
    }
}

TEST(LosslessJpegStream, Category16HasNoFurtherBits) {
    Samples samples(std::size_t{kColumns} * kRows);
    for (std::size_t nth = 0; nth < samples.size(); ++nth) {
        samples[nth] = nth % 2 == 0 ? 0 : 32768; // Each differs by 32768 from the one before it.
    }
    const Bytes jpeg = lossless_jpeg(samples, kColumns, kRows, with_16_bits());
    EXPECT_TRUE(checked(jpeg).is_complete());
    EXPECT_EQ(decoded(jpeg).samples, samples);
}

TEST(LosslessJpegStream, PointTransformIsUndone) {
    for (const unsigned shift : {1U, 3U, 11U}) {
        LosslessJpegOptions options;
        options.bits = 12;
        options.point_transform = shift;
        auto samples = samples_of(12, 1);
        const auto result = decoded(lossless_jpeg(samples, kColumns, kRows, options));
        for (auto& sample : samples) {
            sample = static_cast<std::uint16_t>(sample >> shift << shift);
        }
        EXPECT_EQ(result.samples, samples) << shift;
        EXPECT_EQ(result.decoded.out_of_range, 0U);
    }
}

TEST(LosslessJpegStream, RestartIntervalsMayHaveFillBytes) {
    for (const unsigned rows : {1U, 2U, 5U}) {
        for (const std::size_t fill_bytes : {0U, 1U, 9U}) {
            LosslessJpegOptions options = with_16_bits();
            options.components = 2;
            options.predictor = 4;
            options.restart_interval = rows * kColumns;
            options.fill_bytes = fill_bytes;
            const auto samples = samples_of(16, 2);
            const Bytes jpeg = lossless_jpeg(samples, kColumns, kRows, options);
            EXPECT_TRUE(checked(jpeg).is_complete()) << rows << ' ' << fill_bytes;
            EXPECT_EQ(decoded(jpeg).samples, samples) << rows << ' ' << fill_bytes;
        }
    }
}

TEST(LosslessJpegStream, IntervalsWithinARowAreCheckedButNotDecoded) {
    LosslessJpegOptions options;
    options.restart_interval = 7;
    const std::vector<int> differences(std::size_t{kColumns} * kRows, 3);
    const Bytes jpeg = lossless_jpeg_of(differences, kColumns, kRows, options);
    EXPECT_TRUE(checked(jpeg).is_complete());
    EXPECT_FALSE(lossless_jpeg::can_decode(*head_of(jpeg)));
}

TEST(LosslessJpegStream, SubsampledFramesAreCheckedButNotDecoded) {
    // 25 by 9 pixels: incomplete MCUs at both edges.
    const std::vector<std::pair<unsigned char, std::size_t>> kinds{
        {0x21, 13 * 9 * 4}, {0x22, 13 * 5 * 6}, {0x12, 25 * 5 * 4}};
    for (const auto& [factors, count] : kinds) {
        LosslessJpegOptions options;
        options.components = 3;
        options.factors = factors;
        options.tables = {codes_for_14_bits(), codes_for_16_bits()};
        std::vector<int> differences;
        for (std::size_t nth = 0; nth < count; ++nth) {
            differences.push_back(static_cast<int>(nth % 100) - 50);
        }
        const Bytes jpeg = lossless_jpeg_of(differences, 25, 9, options);
        EXPECT_EQ(checked(jpeg).samples, count);
        EXPECT_TRUE(checked(jpeg).is_complete());
        EXPECT_FALSE(lossless_jpeg::can_decode(*head_of(jpeg)));
        differences.push_back(9);
        EXPECT_EQ(checked(lossless_jpeg_of(differences, 25, 9, options)).fault, Fault::kGoesOn);
    }
}

TEST(LosslessJpegStream, OneComponentHasNoSubsampling) {
    LosslessJpegOptions options;
    options.factors = 0x22;
    const auto samples = samples_of(14, 1);
    const Bytes jpeg = lossless_jpeg(samples, kColumns, kRows, options);
    EXPECT_TRUE(checked(jpeg).is_complete());
    EXPECT_EQ(decoded(jpeg).samples, samples);
}

// -- Faults

/// A stream of this many differences of zero, four bits each, for a frame of kColumns by kRows.
Bytes zeros(std::size_t count, const LosslessJpegOptions& options = {}) {
    return lossless_jpeg_of(std::vector<int>(count, 0), kColumns, kRows, options);
}

constexpr std::size_t kSamples = std::size_t{kColumns} * kRows;

void expect_fault(const Bytes& jpeg, Fault fault, std::uint64_t samples, std::uint64_t byte, unsigned bit) {
    const Progress progress = checked(jpeg);
    EXPECT_EQ(progress.fault, fault);
    EXPECT_EQ(progress.samples, samples);
    EXPECT_EQ(progress.byte, byte);
    EXPECT_EQ(progress.bit, bit);
    EXPECT_EQ(progress.end, byte);
    EXPECT_FALSE(progress.is_complete());
}

TEST(LosslessJpegFault, IsWhereTheBitsAreNoCode) {
    Bytes jpeg = zeros(kSamples);
    const std::size_t data = head_of(jpeg)->end;
    jpeg[data + 10] = 0x0F; // The second half of the byte is no code.
    expect_fault(jpeg, Fault::kNoCode, 21, data + 10, 4);
    jpeg[data + 10] = 0xF7;
    expect_fault(jpeg, Fault::kNoCode, 20, data + 10, 0);
}

TEST(LosslessJpegFault, CountsAStuffedByteAsOne) {
    Bytes jpeg = zeros(kSamples);
    const std::size_t data = head_of(jpeg)->end;
    put_bytes(jpeg, data, {0x4F, 0xFF, 0x00, 0xFF, 0x00, 0x11}); // 0100 and four ones, then no code.
    expect_fault(jpeg, Fault::kNoCode, 1, data + 1, 0);
    put_bytes(jpeg, data, {0x51, 0xFF, 0x00, 0xFF}); // 0101 00011 (no: 5 bits), then ones.
    EXPECT_EQ(checked(jpeg).byte, data + 1);
    EXPECT_EQ(checked(jpeg).bit, 1U);
}

TEST(LosslessJpegFault, IsWhereTheDataEndEarly) {
    const Bytes jpeg = zeros(kSamples - 9);
    expect_fault(jpeg, Fault::kEndsEarly, kSamples - 9, jpeg.size() - 3, 4); // Filled up with ones: no code.
    const Bytes even = zeros(kSamples - 10);
    expect_fault(even, Fault::kEndsEarly, kSamples - 10, even.size() - 2, 0);
}

TEST(LosslessJpegFault, IsWhereTheDataGoOn) {
    const Bytes jpeg = zeros(kSamples + 2);
    expect_fault(jpeg, Fault::kGoesOn, kSamples, jpeg.size() - 3, 0);
    EXPECT_TRUE(checked(zeros(kSamples + 1)).is_complete() == false);
}

TEST(LosslessJpegFault, IsWhereEoiIsNot) {
    Bytes jpeg = zeros(kSamples);
    jpeg.back() = 0xD8;
    expect_fault(jpeg, Fault::kNoEoi, kSamples, jpeg.size() - 2, 0);
    jpeg.pop_back();
    expect_fault(jpeg, Fault::kEndsEarly, kSamples, jpeg.size() - 1, 0);
}

TEST(LosslessJpegFault, IsWhereARestartMarkerIsNot) {
    LosslessJpegOptions options;
    options.restart_interval = kColumns;
    const Bytes jpeg = zeros(kSamples, options);
    const std::size_t data = head_of(jpeg)->end;
    const std::size_t marker = data + kColumns / 2;
    ASSERT_EQ(jpeg.at(marker + 1), 0xD0);
    EXPECT_TRUE(checked(jpeg).is_complete());
    expect_fault(with(jpeg, marker + 1, {0xD1}), Fault::kNoRestart, kColumns, marker, 0);
    expect_fault(with(jpeg, marker + 1, {0xD9}), Fault::kEndsEarly, kColumns, marker, 0);
    expect_fault(with(jpeg, marker, {0x00}), Fault::kGoesOn, kColumns, marker, 0);
    expect_fault(with(jpeg, marker - 2, {0xFF, 0xD0}), Fault::kEndsEarly, kColumns - 4, marker - 2, 0);
}

TEST(LosslessJpegFault, KeepsTheCompleteRowsBeforeIt) {
    const auto samples = samples_of(14, 2);
    const Bytes jpeg = lossless_jpeg(samples, kColumns, kRows, 14, 2);
    const Bytes shorter = part(jpeg, 0, jpeg.size() * 2 / 3);
    const auto result = decoded(shorter);
    EXPECT_EQ(result.decoded.progress.fault, Fault::kEndsEarly);
    EXPECT_EQ(result.decoded.progress.samples, checked(shorter).samples);
    EXPECT_EQ(result.decoded.rows, result.decoded.progress.samples / (std::uint64_t{2} * kColumns));
    EXPECT_GT(result.decoded.rows, kRows / 2);
    const auto kept = static_cast<std::ptrdiff_t>(result.decoded.rows * std::uint64_t{2} * kColumns);
    EXPECT_EQ(result.samples, Samples(samples.begin(), samples.begin() + kept));
}

TEST(LosslessJpegFault, SamplesBeyondThePrecisionAreCounted) {
    std::vector<int> differences(kSamples, 0);
    differences[2 * kColumns + 5] = 9000;
    differences[2 * kColumns + 8] = -9000;
    const auto result = decoded(lossless_jpeg_of(differences, kColumns, kRows, {}));
    EXPECT_TRUE(result.decoded.progress.is_complete());
    EXPECT_EQ(result.decoded.out_of_range, 3U);
    EXPECT_EQ(result.decoded.first_out_of_range, 2 * kColumns + 5);
}

TEST(LosslessJpegFault, NoTruncatedStreamIsCompleteAndSamplesNeverBecomeFewer) {
    for (const unsigned interval : {0U, kColumns}) {
        LosslessJpegOptions options = with_16_bits();
        options.components = 2;
        options.restart_interval = interval;
        const Bytes jpeg = lossless_jpeg(samples_of(16, 2), kColumns, kRows, options);
        const std::size_t data = head_of(jpeg)->end;
        std::uint64_t before = 0;
        for (std::size_t size = data; size < jpeg.size(); ++size) {
            const Bytes shorter = part(jpeg, 0, size);
            const Progress progress = checked(shorter);
            EXPECT_FALSE(progress.is_complete()) << size;
            EXPECT_GE(progress.samples, before) << size;
            EXPECT_LE(progress.end, size);
            EXPECT_EQ(decoded(shorter).decoded.progress.samples, progress.samples) << size;
            before = progress.samples;
        }
    }
}

TEST(LosslessJpegFault, FlippedCodeBitsAreNoticedAndOthersChangeNoCount) {
    LosslessJpegOptions options;
    options.tables = {long_codes()};
    const Bytes jpeg = lossless_jpeg(samples_of(14, 1), kColumns, kRows, options);
    const auto whole = checked(jpeg);
    const std::size_t data = head_of(jpeg)->end;
    for (std::size_t at = 8 * data; at < 8 * (jpeg.size() - 2); ++at) {
        Bytes flipped = jpeg;
        flipped[at / 8] = static_cast<unsigned char>(flipped[at / 8] ^ (0x80U >> at % 8));
        const auto head = head_of(flipped);
        ASSERT_TRUE(head);
        const auto one = lossless_jpeg::check(flipped, *head);
        const auto other = decoded(flipped).decoded;
        EXPECT_EQ(one.is_complete(), other.progress.is_complete());
        EXPECT_EQ(one.fault, other.progress.fault);
        EXPECT_EQ(one.samples, other.progress.samples);
        EXPECT_EQ(one.byte, other.progress.byte);
        EXPECT_EQ(one.bit, other.progress.bit);
        EXPECT_LE(one.end, jpeg.size());
        EXPECT_LE(one.samples, whole.samples);
    }
}

TEST(LosslessJpegFault, OverwrittenStretchesAreNoticed) {
    const Bytes jpeg = lossless_jpeg(samples_of(14, 1), kColumns, kRows);
    std::size_t missed = 0;
    std::size_t tried = 0;
    for (std::size_t at = head_of(jpeg)->end; at + 18 < jpeg.size(); ++at) {
        const Bytes noisy = with(jpeg, at, noise(16, static_cast<std::uint32_t>(at)));
        missed += checked(noisy).is_complete() ? 1U : 0U;
        ++tried;
    }
    EXPECT_LT(missed * 5, tried);
}

// -- Untrusted files

TEST(LosslessJpegUntrusted, AnyBytesAreTaken) {
    const Bytes jpeg = lossless_jpeg(samples_of(16, 3), kColumns, kRows, [] {
        LosslessJpegOptions options = with_16_bits();
        options.components = 3;
        options.restart_interval = kColumns;
        return options;
    }());
    const std::size_t data = head_of(jpeg)->end;
    std::mt19937 random(7);
    std::size_t read = 0;
    for (unsigned trial = 0; trial < 20000; ++trial) {
        Bytes bytes = jpeg;
        for (unsigned change = 0; change < 1 + trial % 3; ++change) {
            bytes[random() % (trial % 2 == 0 ? data : bytes.size())] = static_cast<unsigned char>(random());
        }
        const auto head = head_of(bytes);
        if (!head) {
            continue;
        }
        ++read;
        const auto progress = lossless_jpeg::check(bytes, *head);
        EXPECT_LE(progress.samples, head->samples());
        EXPECT_LE(progress.end, bytes.size());
        if (lossless_jpeg::can_decode(*head)) {
            EXPECT_EQ(lossless_jpeg::decode(bytes, *head, [](auto, auto) {}).progress.samples,
                      progress.samples);
        }
    }
    EXPECT_GT(read, 2000U);
}

TEST(LosslessJpegUntrusted, HugeFrameTakesTimeForItsBytesOnly) {
    LosslessJpegOptions options;
    options.components = 4;
    options.factors = 0xFF;
    const Bytes jpeg = lossless_jpeg_of({1, 2, 3}, 65535, 65535, options);
    for (unsigned trial = 0; trial < 1000; ++trial) {
        const Progress progress = checked(jpeg);
        EXPECT_EQ(progress.fault, Fault::kEndsEarly);
        EXPECT_EQ(progress.samples, 3U);
    }
}

// -- Files that cameras wrote

TEST(LosslessJpegRealFiles, EveryStreamIsComplete) {
    const std::vector<std::pair<std::string, std::size_t>> files{{"pairs/canon-30d/IMG_5952.CR2", 1},
                                                                 {"pairs/canon-30d/IMG_0848.CR2", 1},
                                                                 {"pairs/nikon-d5000-dng/sample1.dng", 204},
                                                                 {"pairs/nikon-d5000-dng/sample2.dng", 204},
                                                                 {"dng/blackmagic-pocket.dng", 2}};
    for (const auto& [name, streams] : files) {
        REAL_FILE_OR_SKIP(file, name);
        std::size_t complete = 0;
        for (std::size_t at = 0; at + 2 < file.size(); ++at) {
            const bool soi = file[at] == 0xFF && file[at + 1] == 0xD8 && file[at + 2] == 0xFF;
            const auto head = soi ? lossless_jpeg::read_head(file, at) : std::nullopt;
            if (head) {
                const auto result = lossless_jpeg::decode(file, *head, [](auto, auto) {});
                EXPECT_TRUE(result.progress.is_complete()) << name << ' ' << at;
                EXPECT_EQ(result.out_of_range, 0U) << name << ' ' << at;
                EXPECT_TRUE(lossless_jpeg::check(file, *head).is_complete()) << name << ' ' << at;
                ++complete;
            }
        }
        EXPECT_EQ(complete, streams) << name;
    }
}

} // namespace
} // namespace test
