#include "coding/RowLevels.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace raw_mend {

namespace {

constexpr std::size_t kKept = 5;         ///< Rows that are looked at together: each second of them.
constexpr std::size_t kBlocks = 16;      ///< Of a row, for each colour.
constexpr std::size_t kLeastInBlock = 4; ///< Values.
constexpr std::size_t kWindowRows = 32;
constexpr std::size_t kLeastInWindow = 16; ///< Rows.
constexpr double kLeastNoise = 0.25;

double median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

} // namespace

RowLevels::RowLevels(std::size_t columns) : columns_(columns), rows_(kKept * columns) {}

void RowLevels::add(int value) {
    rows_[count_ % kKept * columns_ + column_] = value;
    if (++column_ == columns_) {
        column_ = 0;
        ++count_;
        end_row();
    }
}

void RowLevels::end_row() {
    if (count_ < kKept || columns_ < kColours * kBlocks * kLeastInBlock) {
        return;
    }
    for (std::size_t colour = 0; colour < colours_.size(); ++colour) {
        measure(colour);
    }
    if (colours_.front().jumps.size() == kWindowRows) {
        end_window();
    }
}

/// How far the row two rows above the last is from the middle between its neighbours of the same colours: in
/// most of its blocks, and from value to value.
void RowLevels::measure(std::size_t colour) {
    const auto row = [&](std::size_t back) { return &rows_[(count_ - back) % kKept * columns_]; };
    const int* const last = row(1);
    const int* const middle = row(3);
    const int* const first = row(5);
    std::vector<double> means;
    std::vector<double> deviations;
    for (std::size_t block = 0; block < kBlocks; ++block) {
        const auto bound = [&](std::size_t nth) { return columns_ / kColours * nth / kBlocks * kColours; };
        const auto bend = [&](std::size_t column) {
            return static_cast<double>(2 * middle[column] - first[column] - last[column]);
        };
        const std::size_t begin = bound(block) + colour;
        const std::size_t end = bound(block + 1);
        const std::size_t count = (end - bound(block)) / kColours;
        const auto values = static_cast<double>(count);
        double sum = 0;
        for (std::size_t column = begin; column < end; column += kColours) {
            sum += bend(column);
        }
        means.push_back(sum / values);
        double off = 0;
        for (std::size_t column = begin; column < end; column += kColours) {
            off += std::abs(bend(column) - means.back());
        }
        deviations.push_back(off / values);
    }
    colours_[colour].jumps.push_back(std::abs(median(means)));
    colours_[colour].noises.push_back(median(deviations));
}

void RowLevels::end_window() {
    for (Window& window : colours_) {
        most_ = std::max(most_, median(window.jumps) / std::max(median(window.noises), kLeastNoise));
        window = {};
    }
}

double RowLevels::unsteadiness() {
    if (colours_.front().jumps.size() >= kLeastInWindow) {
        end_window();
    }
    return most_;
}

} // namespace raw_mend
