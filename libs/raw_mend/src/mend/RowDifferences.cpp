#include "mend/RowDifferences.h"

#include "mend/RowReader.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace raw_mend {

namespace {

constexpr std::size_t kSamplesOfChunk = 16;

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
    std::vector<float> sorted(vertical_.begin() + static_cast<std::ptrdiff_t>(std::min(period(), size())),
                              vertical_.end());
    if (!sorted.empty()) {
        const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
        std::ranges::nth_element(sorted, middle);
        median_ = *middle;
    }
}

void RowDifferences::add(const std::vector<float>& samples, const std::vector<float>& above) {
    const std::size_t step = RowReader::step(geometry_);
    for (std::size_t begin = 0; begin < samples.size(); begin += kSamplesOfChunk) {
        const std::size_t end = std::min(begin + kSamplesOfChunk, samples.size());
        float down = 0;
        for (std::size_t i = begin; i < end; ++i) {
            down += std::abs(samples[i] - above[i]);
        }
        float across = 0;
        for (std::size_t i = std::max(begin, step); i < end; ++i) {
            across += std::abs(samples[i] - samples[i - step]);
        }
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
