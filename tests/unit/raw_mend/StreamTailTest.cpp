#include "mend/StreamTail.h"
#include "Repair.h"
#include "Written.h"
#include "mend/LevelShift.h"
#include "mend/MaskedBorder.h"

#include "support/LosslessJpeg.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"

#include <lossless_jpeg/Stream.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>

// Lossless JPEGs of which only the end survives, and the masked columns that show at which level they are.

namespace test {
namespace {

constexpr unsigned kColumns = 128; // Of two components each.
constexpr unsigned kRow = 2 * kColumns;
constexpr unsigned kRows = 600;
constexpr unsigned kMasked = 40;

struct Levels {
    int first = 128;
    int second = 131;
};

/// Waves with noise, in the colours of a Bayer filter, and masked columns on the left.
std::vector<std::uint16_t> make_values(unsigned seed, const Levels& black = {}, unsigned masked = kMasked) {
    std::mt19937 random(seed);
    std::vector<std::uint16_t> values;
    for (unsigned row = 0; row < kRows; ++row) {
        for (unsigned column = 0; column < kRow; ++column) {
            const double wave = 400 * std::sin(0.05 * column + seed) + 500 * std::cos(0.01 * row + seed);
            const double level = column >= masked  ? 1500 + wave + (column % 2 == row % 2 ? 250 : 0)
                                 : column % 2 == 0 ? black.first
                                                   : black.second;
            values.push_back(static_cast<std::uint16_t>(level + static_cast<double>(random() % 13) - 6));
        }
    }
    return values;
}

Bytes make_stream(const std::vector<std::uint16_t>& values) {
    LosslessJpegOptions options;
    options.components = 2;
    return lossless_jpeg(values, kColumns, kRows, options);
}

lossless_jpeg::Head head_of(const Bytes& stream) {
    return lossless_jpeg::read_head(stream, 0).value();
}

raw_mend::StreamTraits traits_of(const Bytes& stream) {
    return raw_mend::measure_stream(stream, head_of(stream), {}, kRows);
}

/// A tail of so many hundredths of a stream, after noise, mended with another stream.
std::optional<raw_mend::RepairedStream> mend(const Bytes& stream, std::size_t hundredths,
                                             const Bytes& sample) {
    const std::size_t begin = stream.size() - stream.size() * hundredths / 100;
    const Bytes damaged = joined(noise(5000, 3), part(stream, begin, stream.size()));
    return mend_tail(damaged, {5000, damaged.size()}, sample, head_of(sample), traits_of(sample),
                     raw_mend::Filling::kNeighbours);
}

std::vector<std::uint16_t> decoded(const Bytes& stream) {
    std::vector<std::uint16_t> values;
    const auto head = head_of(stream);
    const auto result =
        lossless_jpeg::decode(stream, head, [&](std::uint64_t /*row*/, std::span<const std::uint16_t> row) {
            values.insert(values.end(), row.begin(), row.end());
        });
    EXPECT_TRUE(result.progress.is_complete());
    return values;
}

TEST(MaskedBorder, IsWhatKeepsItsLevelAtTheLeft) {
    const auto values = make_values(1);
    const raw_mend::StreamFrame frame(head_of(make_stream(values)));
    const raw_mend::StreamSlices slices({}, kRows, frame, 2 * frame.row);
    const auto border = find_masked_border(frame, slices, values);
    EXPECT_EQ(border.columns, 32U) << "whole groups of 16";
    ASSERT_EQ(border.levels.size(), 2U);
    EXPECT_NEAR(border.levels[0], 128, 0.2);
    EXPECT_NEAR(border.levels[1], 131, 0.2);
    EXPECT_TRUE(has_masked_border(slices, values, border, std::size_t{300} * kRow));
    EXPECT_FALSE(has_masked_border(slices, values, border, std::size_t{590} * kRow)) << "too few rows";
    const std::vector<std::uint16_t> displaced(values.begin() + 20, values.end());
    EXPECT_FALSE(
        has_masked_border(raw_mend::StreamSlices({}, kRows - 1, frame, 2 * frame.row), displaced, border, 0));
}

TEST(MaskedBorder, IsNotInPicturesWithoutOneOrWithoutContrast) {
    const auto values = make_values(1, {}, 0);
    const raw_mend::StreamFrame frame(head_of(make_stream(values)));
    const raw_mend::StreamSlices slices({}, kRows, frame, 2 * frame.row);
    EXPECT_EQ(find_masked_border(frame, slices, values).columns, 0U);
    EXPECT_EQ(find_masked_border(frame, slices, make_values(1, {}, kRow)).columns, 0U) << "all black";
}

TEST(MaskedBorder, MeasuresTheLevelOfARun) {
    auto values = make_values(1);
    const raw_mend::StreamFrame frame(head_of(make_stream(values)));
    const raw_mend::StreamSlices slices({}, kRows, frame, 2 * frame.row);
    const auto border = find_masked_border(frame, slices, values);
    std::vector<raw_mend::RowState> states(kRows, raw_mend::RowState::kKnown);
    for (unsigned row = 200; row < kRows; ++row) {
        states[row] = row < 230 ? raw_mend::RowState::kLost : raw_mend::RowState::kRun;
        for (unsigned column = 0; column < kRow; ++column) {
            auto& value = values[std::size_t{row} * kRow + column];
            value = static_cast<std::uint16_t>(value + (column % 2 == 0 ? -300 : 7));
        }
    }
    const auto estimates = measure_border(frame, slices, values, states, border);
    ASSERT_EQ(estimates.size(), 1U);
    EXPECT_NEAR(estimates[0].shift[0], 300, 0.3);
    EXPECT_NEAR(estimates[0].shift[1], -7, 0.3);
    EXPECT_TRUE(combine(estimates, std::nullopt, {}, 2).is_certain);
    std::fill(states.begin(), states.begin() + 200, raw_mend::RowState::kLost);
    const auto by_sample = measure_border(frame, slices, values, states, border);
    ASSERT_EQ(by_sample.size(), 1U);
    EXPECT_NEAR(by_sample[0].shift[0], 300, 0.3);
    EXPECT_FALSE(combine(by_sample, std::nullopt, {}, 2).is_certain)
        << "another photograph's level is a guess";
    std::fill(states.begin() + 260, states.end(), raw_mend::RowState::kLost);
    EXPECT_TRUE(measure_border(frame, slices, values, states, border).empty()) << "too few rows";
    EXPECT_TRUE(measure_border(frame, slices, values, states, {}).empty()) << "no border";
}

TEST(StreamTail, ComesBackAtItsPlaceAndLevel) {
    const auto values = make_values(1);
    const Bytes stream = make_stream(values);
    for (const std::size_t hundredths : {95U, 60U, 25U}) {
        const auto mended = mend(stream, hundredths, make_stream(make_values(2)));
        ASSERT_TRUE(mended);
        EXPECT_FALSE(mended->is_exact);
        ASSERT_EQ(mended->lost.size(), 1U);
        ASSERT_EQ(mended->doubtful.size(), 1U);
        EXPECT_EQ(mended->lost[0].begin, 0U);
        EXPECT_EQ(mended->lost[0].end, mended->doubtful[0].begin);
        EXPECT_EQ(mended->doubtful[0].end, values.size());
        EXPECT_LT(mended->lost[0].end, values.size() * (100 - hundredths + 2) / 100);
        const auto result = decoded(mended->bytes);
        ASSERT_EQ(result.size(), values.size());
        EXPECT_TRUE(std::equal(values.begin() + static_cast<std::ptrdiff_t>(mended->lost[0].end),
                               values.end(),
                               result.begin() + static_cast<std::ptrdiff_t>(mended->lost[0].end)));
    }
}

TEST(StreamTail, ThatIsNoneOfThisCameraIsRefused) {
    const Bytes sample = make_stream(make_values(2));
    EXPECT_FALSE(mend(make_stream(make_values(1, {}, 0)), 60, sample)) << "no masked columns";
    EXPECT_FALSE(mend(make_stream(make_values(1)), 60, make_stream(make_values(2, {}, 0)))) << "no border";
    EXPECT_FALSE(mend(make_stream(make_values(1)), 5, sample)) << "too few rows";
    Bytes cut = make_stream(make_values(1));
    cut.erase(cut.end() - 2000, cut.end() - 2);
    EXPECT_FALSE(mend(cut, 60, sample)) << "it does not end with the last value";
}

class RealTail : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(RealTail, OfAPhotographWhoseFirstMegabyteIsLost) {
    REAL_FILE_OR_SKIP(original, GetParam().first);
    REAL_FILE_OR_SKIP(intact, GetParam().second);
    const auto sample = raw_mend::Sample::read(intact);
    ASSERT_TRUE(sample);
    const auto expected = decode_raw(original);
    constexpr std::size_t kHead = std::size_t{1} << 20U;
    for (const Bytes& damaged :
         {joined(noise(kHead, 1), part(original, kHead, original.size())), zeroed(original, 0, kHead),
          part(original, kHead, original.size()), joined(zeroed(original, 0, kHead), noise(5000, 2))}) {
        const auto repaired = raw_mend::repair(damaged, *sample);
        ASSERT_TRUE(repaired && repaired->file);
        EXPECT_EQ(repaired->image.proved, 0U);
        EXPECT_TRUE(repaired->image.doubts.empty()) << "its place is no guess";
        const auto picture = decode_raw(written(*repaired->file));
        ASSERT_TRUE(picture);
        std::size_t equal = 0;
        for (std::size_t at = 0; at < expected->samples.size(); ++at) {
            equal += picture->samples[at] == expected->samples[at] ? 1U : 0U;
        }
        EXPECT_GT(static_cast<double>(equal), 0.92 * static_cast<double>(expected->samples.size()));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Canon30D, RealTail,
    testing::Values(std::pair("pairs/canon-30d/IMG_5952.CR2", "pairs/canon-30d/IMG_0848.CR2"),
                    std::pair("pairs/canon-30d/IMG_0848.CR2", "pairs/canon-30d/IMG_5952.CR2")));

} // namespace
} // namespace test
