#include "mend/LevelShift.h"
#include "mend/StreamGreens.h"
#include "mend/StreamLevels.h"
#include "mend/StreamPlaces.h"
#include "mend/StreamSeams.h"

#include "support/LosslessJpeg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

// What is between losses of a lossless JPEG: where it belongs, and at which level.

namespace test {
namespace {

constexpr unsigned kColumns = 96; // Of two components each.
constexpr unsigned kRow = 2 * kColumns;
constexpr unsigned kRows = 600;

/// Smooth values with noise, and masked columns on the left.
std::vector<std::uint16_t> make_values() {
    std::mt19937 random(5);
    std::vector<std::uint16_t> values;
    for (unsigned row = 0; row < kRows; ++row) {
        for (unsigned column = 0; column < kRow; ++column) {
            const double wave = 300 * std::sin(0.05 * column) + 20 * std::cos(0.03 * row);
            const double level = column < 16 ? 128 : 1500 + wave + (column % 2) * 250;
            values.push_back(static_cast<std::uint16_t>(level + static_cast<double>(random() % 61)));
        }
    }
    return values;
}

Bytes make_stream(const std::vector<std::uint16_t>& values) {
    LosslessJpegOptions options;
    options.components = 2;
    return lossless_jpeg(values, kColumns, kRows, options);
}

struct Chain {
    raw_mend::StreamFrame frame;
    raw_mend::StreamChain chain;
};

Chain chain_of(const Bytes& stream) {
    const auto head = lossless_jpeg::read_head(stream, 0);
    EXPECT_TRUE(head);
    raw_mend::StreamBytes bytes(stream, 0, stream.size());
    const raw_mend::StreamWalk walk(*head, 1, bytes);
    return {walk.frame(), decode_chain(walk, walk.place_of(0), stream.size())};
}

Bytes without(const Bytes& stream, std::size_t at, std::size_t count) {
    return joined(part(stream, 0, at), part(stream, at + count, stream.size()));
}

TEST(StreamChain, HoldsAllOfAnIntactStream) {
    const auto [frame, chain] = chain_of(make_stream(make_values()));
    EXPECT_EQ(chain.size(), frame.count());
    EXPECT_TRUE(chain.is_closed);
    const auto runs = find_phase_runs(frame, chain);
    ASSERT_EQ(runs.size(), 1U);
    EXPECT_EQ(runs[0].begin, 0U);
    EXPECT_EQ(runs[0].end, frame.count());
}

TEST(StreamChain, GoesOnAfterWhatCannotBeDecoded) {
    Bytes stream = make_stream(make_values());
    const std::size_t at = stream.size() / 2;
    stream[at] = 0xFF;
    stream[at + 1] = 0xD9;
    const auto [frame, chain] = chain_of(stream);
    EXPECT_TRUE(chain.is_closed);
    EXPECT_GT(chain.size(), frame.count() - 100);
    EXPECT_LT(chain.size(), frame.count() + 100);
}

/// Zeros are short codes, so that a cluster of them would be more values than are lost.
TEST(StreamChain, PassesOverClustersOfOneValue) {
    constexpr std::size_t kCluster = 32768;
    const Bytes stream = make_stream(make_values());
    ASSERT_GT(stream.size(), 3 * kCluster);
    const std::size_t at = stream.size() / 2;
    for (const unsigned char value : Bytes{0x00, 0x55}) {
        Bytes damaged = stream;
        std::fill_n(damaged.begin() + static_cast<std::ptrdiff_t>(at), kCluster, value);
        const auto [frame, chain] = chain_of(damaged);
        EXPECT_TRUE(chain.is_closed);
        const std::size_t lost = frame.count() * kCluster / stream.size();
        EXPECT_LT(chain.size(), frame.count() - lost + frame.row);
        EXPECT_GT(chain.size(), frame.count() - lost - frame.row);
        const auto placed = place_runs(frame, chain, find_phase_runs(frame, chain), frame.row);
        ASSERT_EQ(placed.size(), 2U);
        EXPECT_TRUE(placed[1].is_certain);
        EXPECT_EQ(placed[1].value + placed[1].run.end - placed[1].run.begin, frame.count());
    }
}

TEST(StreamPlaces, AreFoundAfterSeveralLosses) {
    const std::vector<std::uint16_t> values = make_values();
    const Bytes stream = make_stream(values);
    const Bytes damaged = without(without(stream, stream.size() * 2 / 3, 512), stream.size() / 3, 512);
    const auto [frame, chain] = chain_of(damaged);
    const auto placed = place_runs(frame, chain, find_phase_runs(frame, chain), frame.row);
    ASSERT_EQ(placed.size(), 3U);
    EXPECT_EQ(placed[0].value, 0U);
    EXPECT_TRUE(placed[0].is_certain);
    EXPECT_TRUE(placed[2].is_certain) << "it ends where the stream ends";
    EXPECT_EQ(placed[2].value + placed[2].run.end - placed[2].run.begin, frame.count());
    for (const raw_mend::PlacedRun& run : placed) {
        EXPECT_EQ(run.value % frame.row, 0U);
        EXPECT_GT(run.run.end - run.run.begin, 100 * frame.row);
        // Rows in the middle of the run, by what is coded: the steps from value to value.
        const std::size_t middle = (run.run.end - run.run.begin) / 2 / frame.row * frame.row;
        std::size_t wrong = 0;
        for (std::size_t nth = 2; nth < frame.row; ++nth) {
            const std::size_t value = run.value + middle + nth;
            const int step = values[value] - values[value - 2];
            const auto coded = static_cast<std::int16_t>(chain.differences[run.run.begin + middle + nth]);
            wrong += step == coded ? 0U : 1U;
        }
        if (run.is_certain) {
            EXPECT_EQ(wrong, 0U);
        }
    }
}

TEST(StreamLevels, AreMeasuredAcrossAGap) {
    std::vector<std::uint16_t> values = make_values();
    const raw_mend::StreamFrame frame(*lossless_jpeg::read_head(make_stream(values), 0));
    for (std::size_t at = std::size_t{103} * kRow; at < values.size(); ++at) {
        values[at] = static_cast<std::uint16_t>(values[at] + (at % 2 == 0 ? 7 : -300));
    }
    const auto found = measure_level(frame, values, 1, {0, 100, 103, kRows});
    ASSERT_TRUE(found);
    const auto shift = raw_mend::combine({&*found, 1}, std::nullopt, {}, 2);
    EXPECT_NEAR(shift.shift[0], -7, 1);
    EXPECT_NEAR(shift.shift[1], 300, 1);
    EXPECT_FALSE(measure_level(frame, values, 1, {98, 100, 103, 105})) << "too few rows after it";
}

TEST(StreamLevels, AreNotCertainIfEstimatesContradictEachOther) {
    const std::vector<raw_mend::LevelEstimate> estimates{{{3.0}, {0.05}}, {{9.0}, {0.2}}};
    EXPECT_FALSE(raw_mend::combine(estimates, std::nullopt, {}, 1).is_certain);
    EXPECT_TRUE(raw_mend::combine(std::span(estimates).first(1), std::nullopt, {}, 1).is_certain);
    EXPECT_FALSE(raw_mend::combine({}, std::nullopt, {}, 1).is_certain);
}

TEST(StreamLevels, FollowTheGreens) {
    const std::vector<raw_mend::LevelEstimate> estimates{{{3.4, 5.6}, {0.4, 0.4}}};
    EXPECT_EQ(raw_mend::combine(estimates, std::nullopt, {}, 2).shift, (std::vector<int>{3, 6}));
    EXPECT_EQ(raw_mend::combine(estimates, raw_mend::GreenBalance{1.0, 0.02}, {}, 2).shift[1] -
                  raw_mend::combine(estimates, raw_mend::GreenBalance{1.0, 0.02}, {}, 2).shift[0],
              1);
}

TEST(StreamSeams, ShowHowFarASliceIsOff) {
    constexpr std::uint32_t kWidth = 480;
    constexpr std::size_t kHeight = 400;
    LosslessJpegOptions options;
    options.components = 2;
    const Bytes stream = lossless_jpeg(std::vector<std::uint16_t>(std::size_t{2} * kWidth * kHeight), kWidth,
                                       static_cast<unsigned>(kHeight), options);
    const raw_mend::StreamFrame frame(*lossless_jpeg::read_head(stream, 0));
    const raw_mend::StreamSlices slices(std::vector<std::uint32_t>{kWidth, kWidth}, kHeight, frame,
                                        frame.row);
    ASSERT_EQ(slices.count(), 2U);
    std::mt19937 random(9);
    std::vector<std::uint16_t> values(frame.count());
    for (std::size_t slice = 0; slice < 2; ++slice) {
        for (std::size_t row = 0; row < kHeight; ++row) {
            for (std::size_t column = 0; column < kWidth; ++column) {
                const auto x = static_cast<double>(slice * kWidth + column);
                const double level =
                    1000 + 100 * std::sin(x / 40) + static_cast<double>((row + column) % 2) * 200;
                values[slices.at(slice, column, row)] =
                    static_cast<std::uint16_t>(level + static_cast<double>(random() % 5) +
                                               (slice == 1 ? (column % 2 == 0 ? 4 : 11) : 0));
            }
        }
    }
    std::vector<raw_mend::RowState> states(frame.rows, raw_mend::RowState::kKnown);
    std::fill(states.begin() + static_cast<std::ptrdiff_t>(frame.rows / 2), states.end(),
              raw_mend::RowState::kRun);
    const auto seam = measure_seam(frame, slices, values, states);
    ASSERT_TRUE(seam);
    EXPECT_NEAR(seam->shift[0], -4, 0.6);
    EXPECT_NEAR(seam->shift[1], -11, 0.6);
    const auto greens = measure_greens(frame, slices, values, states);
    ASSERT_TRUE(greens);
    EXPECT_NEAR(greens->difference, -7, 0.3);
}

} // namespace
} // namespace test
