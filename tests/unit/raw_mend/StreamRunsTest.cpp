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

/// Rows of the runs of which a step from value to value is not the photograph's. Of rows at the ends of runs,
/// some are foreign.
std::size_t count_wrong_rows(const std::vector<std::uint16_t>& values, const Chain& of,
                             const std::vector<raw_mend::PlacedRun>& placed) {
    constexpr std::size_t kEndRows = 3;
    std::size_t wrong = 0;
    for (const raw_mend::PlacedRun& run : placed) {
        const std::size_t rows = (run.run.end - run.run.begin) / of.frame.row;
        for (std::size_t row = kEndRows; row + kEndRows < rows; ++row) {
            bool differs = false;
            for (std::size_t nth = 2; nth < of.frame.row; ++nth) {
                const std::size_t at = row * of.frame.row + nth;
                const int step = values[run.value + at] - values[run.value + at - 2];
                differs = differs || step != of.chain.difference(run.run.begin + at);
            }
            wrong += differs ? 1U : 0U;
        }
    }
    return wrong;
}

TEST(StreamPlaces, AreFoundWhereSingleBitsAreFlipped) {
    const std::vector<std::uint16_t> values = make_values();
    const Bytes stream = make_stream(values);
    constexpr std::size_t kFlips = 11;
    for (unsigned seed = 1; seed <= 8; ++seed) {
        std::mt19937 random(seed);
        Bytes damaged = stream;
        for (std::size_t nth = 1; nth <= kFlips; ++nth) {
            const std::size_t at = stream.size() * nth / (kFlips + 1) + random() % 200;
            if (damaged[at] != 0xFF && damaged[at - 1] != 0xFF) {
                damaged[at] = static_cast<unsigned char>(damaged[at] ^ 1U << random() % 7);
            }
        }
        const Chain chain = chain_of(damaged);
        const auto placed =
            place_runs(chain.frame, chain.chain, find_phase_runs(chain.frame, chain.chain), chain.frame.row);
        std::size_t rows = 0;
        for (const auto& run : placed) {
            rows += (run.run.end - run.run.begin) / chain.frame.row;
        }
        EXPECT_GT(rows, kRows - 4 * kFlips) << seed;
        EXPECT_LE(count_wrong_rows(values, chain, placed), 2 * kFlips) << seed;
    }
}

TEST(StreamPlaces, ManyRunsAreAllPlaced) {
    const std::vector<std::uint16_t> values = make_values();
    const Chain chain = chain_of(make_stream(values));
    constexpr std::size_t kRunRows = 24;
    std::vector<raw_mend::PhaseRun> runs;
    for (std::size_t row = 0; row < kRows; row += kRunRows) {
        runs.push_back({row * kRow, (row + kRunRows) * kRow});
    }
    const auto placed = place_runs(chain.frame, chain.chain, runs, kRow);
    ASSERT_EQ(placed.size(), kRows / kRunRows);
    EXPECT_EQ(count_wrong_rows(values, chain, placed), 0U);
}

TEST(StreamPlaces, NoiseBeforeTheEndIsNoRun) {
    const std::vector<std::uint16_t> values = make_values();
    Chain chain = chain_of(make_stream(values));
    // 7 rows and 5 values are lost; the last row but one seems to begin elsewhere.
    constexpr std::size_t kRowLength = kRow;
    const std::size_t lost = 7 * kRowLength + 5;
    auto& differences = chain.chain.differences;
    const auto from = differences.begin() + std::ptrdiff_t{300} * kRow;
    differences.erase(from, from + static_cast<std::ptrdiff_t>(lost));
    const std::size_t second = 308 * kRowLength - lost;
    const std::size_t noise = chain.chain.size() - 2 * kRowLength + 40;
    const auto placed = place_runs(chain.frame, chain.chain,
                                   {{0, 300 * kRowLength}, {second, noise}, {noise, noise + kRow}}, kRow);
    ASSERT_EQ(placed.size(), 2U);
    EXPECT_TRUE(placed[1].is_certain);
    EXPECT_EQ(placed[1].value, 308 * kRowLength);
    EXPECT_EQ(count_wrong_rows(values, chain, placed), 0U);
}

TEST(StreamPlaces, RowsOfTheRunBeforeGiveWayToTheLast) {
    const std::vector<std::uint16_t> values = make_values();
    Chain chain = chain_of(make_stream(values));
    // Three rows more than there were, which seem to be of the first run.
    auto& differences = chain.chain.differences;
    constexpr std::size_t kRowLength = kRow;
    differences.insert(differences.begin() + std::ptrdiff_t{300} * kRow, 3 * kRowLength + 10, 0);
    const std::size_t second = 303 * kRowLength + 10;
    const auto placed =
        place_runs(chain.frame, chain.chain, {{0, 302 * kRowLength}, {second, chain.chain.size()}}, kRow);
    ASSERT_EQ(placed.size(), 2U);
    EXPECT_EQ(placed[0].run.end, 300 * kRowLength);
    EXPECT_TRUE(placed[1].is_certain);
    EXPECT_EQ(count_wrong_rows(values, chain, placed), 0U);
}

/// Several rows are missing before and after a run, and those beside it show where it belongs.
TEST(StreamPlaces, RowsBesideRunsCountToo) {
    const std::vector<std::uint16_t> values = make_values();
    Chain chain = chain_of(make_stream(values));
    auto& differences = chain.chain.differences;
    constexpr std::size_t kRowLength = kRow;
    for (const std::ptrdiff_t row : {500, 300}) {
        const auto first = differences.begin() + row * kRow;
        differences.erase(first, first + std::ptrdiff_t{3} * kRow);
    }
    const std::vector<raw_mend::PhaseRun> runs{
        {0, 300 * kRowLength}, {300 * kRowLength, 497 * kRowLength}, {497 * kRowLength, chain.chain.size()}};
    const auto find_second = [&](const raw_mend::SideComparison& sides) {
        const auto placed = place_runs(chain.frame, chain.chain, runs, kRow, sides);
        return placed.size() == 3 ? static_cast<std::ptrdiff_t>(placed[1].value / kRowLength) : 0;
    };
    const std::ptrdiff_t by_bytes = find_second({});
    const auto find_by_sides = [&](std::ptrdiff_t belongs, double worse) {
        return find_second([&](const raw_mend::PlacedRun& run) {
            const auto row = static_cast<std::ptrdiff_t>(run.value / kRowLength);
            std::vector<raw_mend::SidePlace> places;
            for (std::ptrdiff_t moved = -24; moved <= 24; ++moved) {
                places.push_back(
                    {moved, row + moved == belongs ? 0 : worse + static_cast<double>(moved % 3)});
            }
            return places;
        });
    };
    for (const std::ptrdiff_t moved : {-2, 1, 2}) {
        EXPECT_EQ(find_by_sides(by_bytes + moved, 80), by_bytes + moved);
        EXPECT_EQ(find_by_sides(by_bytes + moved, 10), by_bytes) << "such differences are chance";
    }
}

TEST(StreamPlaces, AreFoundIfTheFirstRowIsForeign) {
    const std::vector<std::uint16_t> values = make_values();
    Bytes damaged = make_stream(values);
    const auto data = static_cast<std::ptrdiff_t>(lossless_jpeg::read_head(damaged, 0)->end);
    std::fill_n(damaged.begin() + data + 20, 1500, static_cast<unsigned char>(0x6B));
    const Chain chain = chain_of(damaged);
    const auto runs = find_phase_runs(chain.frame, chain.chain);
    ASSERT_EQ(runs.size(), 2U);
    EXPECT_EQ(runs[0].begin, 0U);
    EXPECT_EQ(runs[0].end, 0U);
    const auto placed = place_runs(chain.frame, chain.chain, runs, chain.frame.row);
    ASSERT_EQ(placed.size(), 2U);
    EXPECT_TRUE(placed[1].is_certain);
    EXPECT_EQ(count_wrong_rows(values, chain, placed), 0U);
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
