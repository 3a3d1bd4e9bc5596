#include "mend/StreamSides.h"

#include "support/LosslessJpeg.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

// Where a run of a stream belongs, by the rows of the slice beside it.

namespace test {
namespace {

using raw_mend::RowState;

constexpr std::size_t kWidth = 64;   // Of each of two slices.
constexpr std::size_t kHeight = 400; // Of the picture; a row of the stream has two of its rows.
constexpr std::size_t kRow = 2 * kWidth;
constexpr std::size_t kBegin = 250; // Of the run, in rows of the stream: in the right slice.

/// A picture whose rows differ by so much, and go on from slice to slice.
class Sides {
  public:
    explicit Sides(unsigned contrast) : frame_(*lossless_jpeg::read_head(stream(), 0)) {
        std::mt19937 random(9);
        for (std::size_t row = 0; row < kHeight; ++row) {
            const auto level = 1000 + contrast * (random() % 100) / 10;
            for (std::size_t column = 0; column < 2 * kWidth; ++column) {
                picture_.push_back(static_cast<std::uint16_t>(level + column % 2 * 300 + random() % 21));
            }
        }
    }

    /// What is found of a run of so many rows that belongs some rows further down, at another level.
    [[nodiscard]] std::optional<std::ptrdiff_t> find(std::size_t rows, std::ptrdiff_t moved,
                                                     RowState beside = RowState::kKnown) const {
        const std::vector<std::uint32_t> widths{kWidth, kWidth};
        const raw_mend::StreamSlices slices(widths, kHeight, frame_, 2 * kRow);
        std::vector<RowState> states(frame_.rows, RowState::kLost);
        std::fill_n(states.begin(), frame_.rows / 2, beside);
        std::fill_n(states.begin() + kBegin, rows, RowState::kRun);
        std::vector<std::uint16_t> values(frame_.count());
        for (std::size_t slice = 0; slice < 2; ++slice) {
            for (std::size_t row = 0; row < kHeight; ++row) {
                for (std::size_t column = 0; column < kWidth; ++column) {
                    const std::size_t at = slices.at(slice, column, row);
                    const bool is_run = states[at / kRow] == RowState::kRun;
                    const auto from =
                        static_cast<std::size_t>(static_cast<std::ptrdiff_t>(row) + (is_run ? 2 * moved : 0));
                    values[at] = static_cast<std::uint16_t>(
                        picture_[from * 2 * kWidth + slice * kWidth + column] + (is_run ? 700 : 0));
                }
            }
        }
        return find_place_by_sides(frame_, slices, values, states);
    }

    [[nodiscard]] const raw_mend::StreamFrame& frame() const { return frame_; }

  private:
    static Bytes stream() {
        LosslessJpegOptions options;
        options.components = 2;
        return lossless_jpeg(std::vector<std::uint16_t>(kWidth * 2 * kHeight), kWidth, kHeight, options);
    }

    raw_mend::StreamFrame frame_;
    std::vector<std::uint16_t> picture_;
};

constexpr unsigned kMuchContrast = 30;
constexpr std::size_t kRunRows = 80;

TEST(StreamSides, ShowWhereARunBelongs) {
    const Sides sides(kMuchContrast);
    for (const std::ptrdiff_t moved : {0, 1, -1, 7, -20}) {
        EXPECT_EQ(sides.find(kRunRows, moved), moved);
    }
}

TEST(StreamSides, SayNothingOfFarPlaces) {
    EXPECT_EQ(Sides(kMuchContrast).find(kRunRows, 40), std::nullopt);
}

TEST(StreamSides, SayNothingWhereRowsAreAlike) {
    EXPECT_EQ(Sides(0).find(kRunRows, 0), std::nullopt);
}

TEST(StreamSides, NeedEnoughRows) {
    const Sides sides(kMuchContrast);
    EXPECT_EQ(sides.find(20, 0), std::nullopt);
    EXPECT_EQ(sides.find(kRunRows, 0, RowState::kLost), std::nullopt) << "nothing is known beside it";
    EXPECT_EQ(sides.find(0, 0), std::nullopt);
}

TEST(StreamSides, NeedSlicesOfWholeRows) {
    const Sides sides(kMuchContrast);
    const raw_mend::StreamFrame& frame = sides.frame();
    const std::vector<std::uint16_t> values(frame.count());
    const std::vector<RowState> states(frame.rows, RowState::kRun);
    for (const std::vector<std::uint32_t>& widths :
         {std::vector<std::uint32_t>{40, 88}, std::vector<std::uint32_t>{}}) {
        const raw_mend::StreamSlices slices(widths, kHeight, frame, 2 * kRow);
        EXPECT_EQ(find_place_by_sides(frame, slices, values, states), std::nullopt);
    }
}

} // namespace
} // namespace test
