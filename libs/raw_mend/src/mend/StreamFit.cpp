#include "mend/StreamFit.h"

#include <algorithm>
#include <cstdlib>

namespace raw_mend {

namespace {

constexpr double kFinest = 0.75; // Added to each scale: differences of flat parts are all 0 or 1.
constexpr double kMostMisfit = 8;
constexpr double kLearning = 0.25;
constexpr double kLearningUsual = 0.001;
constexpr double kLeastShare = 0.5; // Of what is usual anywhere: clipped parts have no noise of their own.

} // namespace

StreamFit::StreamFit(const StreamFrame& frame, std::size_t period)
    : row_(frame.row), lag_(period * frame.row), scales_((frame.row + kBlock - 1) / kBlock, -1.0) {}

double StreamFit::scale_around(std::size_t block) const {
    if (scales_[block] < 0) {
        return scales_[block];
    }
    double scale = std::max(scales_[block], kLeastShare * usual_);
    scale = block > 0 ? std::max(scale, scales_[block - 1]) : scale;
    return block + 1 < scales_.size() ? std::max(scale, scales_[block + 1]) : scale;
}

double StreamFit::misfit(std::span<const std::uint16_t> values, std::size_t from, std::size_t to) const {
    double sum = 0;
    std::size_t at = std::max(from, lag_);
    while (at < to) {
        const std::size_t column = at % row_;
        const std::size_t block = column / kBlock;
        const std::size_t end = std::min({to, at - column + (block + 1) * kBlock, at - column + row_});
        const double scale = scale_around(block);
        if (scale < 0) {
            at = end;
            continue;
        }
        const double factor = 1 / (scale + kFinest);
        for (; at < end; ++at) {
            sum += std::min(std::abs(values[at] - values[at - lag_]) * factor, kMostMisfit);
        }
    }
    return to > from ? sum / static_cast<double>(to - from) : 0;
}

void StreamFit::learn(std::span<const std::uint16_t> values, std::size_t from, std::size_t to) {
    if (from < lag_ || from >= to) {
        return;
    }
    std::uint64_t sum = 0;
    for (std::size_t at = from; at < to; ++at) {
        sum += static_cast<std::uint64_t>(std::abs(values[at] - values[at - lag_]));
    }
    const double mean = static_cast<double>(sum) / static_cast<double>(to - from);
    usual_ += kLearningUsual * (mean - usual_);
    double& scale = scales_[from % row_ / kBlock];
    scale = scale < 0 ? mean : scale + kLearning * (mean - scale);
}

} // namespace raw_mend
