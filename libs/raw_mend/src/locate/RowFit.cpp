#include "locate/RowFit.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace raw_mend {

namespace {

constexpr std::uint64_t kParts = 8; ///< Of a row, evenly spread.
constexpr std::uint64_t kUnitsOfPart = 48;
constexpr std::uint64_t kCellsOfPart = 12;
constexpr std::size_t kBlankShare = 16; ///< One in so many bytes of a blank row may differ.
constexpr std::size_t kBlankOf = 512;   ///< Bytes that are read, roughly.

} // namespace

RowFit::RowFit(Bytes file, const RowGeometry& geometry, std::uint64_t phase)
    : file_(file), geometry_(geometry), phase_(phase),
      rows_(phase < file.size() ? (file.size() - phase) / geometry.row_bytes : 0) {}

bool RowFit::is_blank(std::uint64_t row) const {
    std::array<std::size_t, 256> count{};
    const Bytes bytes = file_.subspan(static_cast<std::size_t>(phase_ + row * geometry_.row_bytes),
                                      static_cast<std::size_t>(geometry_.row_bytes));
    const std::size_t step = bytes.size() / kBlankOf | 1U; // Odd, so that it meets both halves of words.
    std::size_t all = 0;
    for (std::size_t at = 0; at < bytes.size(); at += step) {
        ++count[bytes[at]];
        ++all;
    }
    return *std::ranges::max_element(count) >= all - all / kBlankShare;
}

void RowFit::read(std::uint64_t row, std::vector<float>& samples) {
    const std::uint64_t groups = geometry_.row_bytes / geometry_.group_bytes();
    const std::uint64_t wanted = geometry_.packing == Packing::kCells ? kCellsOfPart : kUnitsOfPart;
    const std::uint64_t of_part =
        std::min((wanted + geometry_.group_units() - 1) / geometry_.group_units(), groups / kParts);
    const auto units = static_cast<std::size_t>(of_part * geometry_.group_units());
    samples.clear();
    for (std::uint64_t part = 0; part < kParts; ++part) {
        const std::uint64_t group = (groups - of_part) * part / (kParts - 1);
        const std::uint64_t at = phase_ + row * geometry_.row_bytes + group * geometry_.group_bytes();
        read_units(geometry_, file_.subspan(static_cast<std::size_t>(at)), units, units_);
        samples.insert(samples.end(), units_.first.begin(), units_.first.end());
    }
}

RowFit::Misfit RowFit::misfit(std::uint64_t row) {
    read(row, upper_);
    read(row + geometry_.cfa_period, lower_);
    const std::size_t count = upper_.size();
    const std::size_t other = count / 3 / geometry_.step() * geometry_.step();
    Misfit misfit;
    for (std::size_t i = 0; i < count; ++i) {
        misfit.mean += std::abs(upper_[i] - lower_[i]) / static_cast<double>(count);
        misfit.base += std::abs(upper_[i] - lower_[(i + other) % count]) / static_cast<double>(count);
    }
    return misfit;
}

} // namespace raw_mend
