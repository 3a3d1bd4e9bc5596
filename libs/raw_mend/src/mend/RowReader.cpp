#include "mend/RowReader.h"

#include <algorithm>

namespace raw_mend {

namespace {

constexpr std::size_t kEnds = 2; // Samples that are read of each cell.

bool has_cells(const RowGeometry& geometry) {
    return geometry.packing == Packing::kCells;
}

} // namespace

RowReader::RowReader(Bytes file, const RowGeometry& geometry, std::int64_t start)
    : file_(file), geometry_(geometry), start_(start),
      width_(static_cast<std::size_t>(geometry.row_units()) * (has_cells(geometry) ? kEnds : 1)) {}

bool RowReader::has(std::uint64_t row) const {
    const std::int64_t begin = start_ + static_cast<std::int64_t>(row * geometry_.row_bytes);
    return begin >= 0 && static_cast<std::uint64_t>(begin) + geometry_.row_bytes <= file_.size();
}

void RowReader::read(std::uint64_t row, std::vector<float>& samples) {
    const std::int64_t begin = start_ + static_cast<std::int64_t>(row * geometry_.row_bytes);
    const auto bytes =
        file_.subspan(static_cast<std::size_t>(begin), static_cast<std::size_t>(geometry_.row_bytes));
    read_units(geometry_, bytes, static_cast<std::size_t>(geometry_.row_units()), units_);
    if (!has_cells(geometry_)) {
        std::swap(samples, units_.first);
        return;
    }
    samples.resize(width_);
    for (std::size_t cell = 0; cell < units_.first.size(); ++cell) {
        samples[kEnds * cell] = units_.first[cell];
        samples[kEnds * cell + 1] = units_.last[cell];
    }
}

std::size_t RowReader::sample_at(const RowGeometry& geometry, std::uint64_t byte) {
    const std::uint64_t group = geometry.group_bytes();
    const std::uint64_t per_group = has_cells(geometry) ? kEnds : geometry.group_units();
    const std::uint64_t inside = (byte % group * per_group + group - 1) / group;
    const std::uint64_t width = geometry.row_bytes / group * per_group;
    return static_cast<std::size_t>(std::min(byte / group * per_group + inside, width));
}

std::size_t RowReader::step(const RowGeometry& geometry) {
    // Cells hold every second column, and take turns.
    return has_cells(geometry) ? 2 * kEnds : geometry.step();
}

} // namespace raw_mend
