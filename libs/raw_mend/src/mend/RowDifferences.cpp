#include "mend/RowDifferences.h"

#include "locate/NthSmallest.h"
#include "mend/RowReader.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

namespace raw_mend {

namespace {

constexpr std::size_t kSamplesOfChunk = 16;

/// The sum of the differences of neighbours, at most a chunk of them. Samples are whole numbers below 2^16,
/// so the sum has no rounding, whatever the order.
float sum_of_steps(const float* samples, const float* neighbours, std::size_t count) {
    constexpr std::size_t kLanes = 4;
    std::array<float, kLanes> sums{};
    std::size_t i = 0;
    for (; i + kLanes <= count; i += kLanes) {
        for (std::size_t lane = 0; lane < kLanes; ++lane) {
            sums[lane] += std::abs(samples[i + lane] - neighbours[i + lane]);
        }
    }
    for (; i < count; ++i) {
        sums[0] += std::abs(samples[i] - neighbours[i]);
    }
    return sums[0] + sums[1] + sums[2] + sums[3];
}

} // namespace

RowDifferences::RowDifferences(Bytes image, const RowGeometry& geometry) : geometry_(geometry) {
    RowReader reader(image, geometry, 0);
    row_ = (reader.width() + kSamplesOfChunk - 1) / kSamplesOfChunk;
    vertical_.reserve(static_cast<std::size_t>(geometry.rows) * row_);
    horizontal_.reserve(vertical_.capacity());
    std::array<std::vector<float>, 3> rows; // The last ones: the period is 1 or 2.
    for (std::uint64_t row = 0; row < geometry.rows; ++row) {
        reader.read(row, rows[row % rows.size()]);
        const std::uint64_t above = row < geometry.cfa_period ? row : row - geometry.cfa_period;
        add(rows[row % rows.size()], rows[above % rows.size()]);
    }
    const auto below_first = std::span(vertical_).subspan(std::min(period(), size()));
    if (!below_first.empty()) {
        median_ = nth_smallest(below_first, below_first.size() / 2);
    }
}

void RowDifferences::add(const std::vector<float>& samples, const std::vector<float>& above) {
    const std::size_t step = RowReader::step(geometry_);
    for (std::size_t begin = 0; begin < samples.size(); begin += kSamplesOfChunk) {
        const std::size_t end = std::min(begin + kSamplesOfChunk, samples.size());
        const float down = sum_of_steps(&samples[begin], &above[begin], end - begin);
        const std::size_t first = std::min(std::max(begin, step), end);
        const float across =
            sum_of_steps(samples.data() + first, samples.data() + first - std::min(first, step), end - first);
        vertical_.push_back(down / static_cast<float>(end - begin));
        horizontal_.push_back(across / static_cast<float>(end - begin));
    }
}

std::size_t RowDifferences::chunk_of(std::uint64_t byte) const {
    const std::uint64_t row = byte / geometry_.row_bytes;
    const std::size_t sample = RowReader::sample_at(geometry_, byte % geometry_.row_bytes);
    return static_cast<std::size_t>(row) * row_ + std::min(sample / kSamplesOfChunk, row_);
}

} // namespace raw_mend
