#include "judge/SonyCells.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace plate_mend::host {

namespace {

constexpr std::size_t kCellBytes = 16;
constexpr std::size_t kPairColumns = 32; ///< Two cells hold every second sample of so many columns each.

/// Bits of a cell, from the lowest bit of its first byte on.
class CellBits {
  public:
    explicit CellBits(const unsigned char* cell) : cell_(cell) {}

    unsigned take(unsigned count) {
        unsigned value = 0;
        for (unsigned bit = 0; bit < count; ++bit, ++at_) {
            value |= (cell_[at_ / 8] >> (at_ % 8) & 1U) << bit;
        }
        return value;
    }

  private:
    const unsigned char* cell_;
    unsigned at_ = 0;
};

/// | greatest (11 bits) | least (11) | their places (4 each) | 14 others, above the least, scaled (7 each) |
bool is_cell(const unsigned char* cell) {
    CellBits bits(cell);
    const unsigned greatest = bits.take(11);
    const unsigned least = bits.take(11);
    const unsigned place_of_greatest = bits.take(4);
    const unsigned place_of_least = bits.take(4);
    if (least > greatest || (least != greatest && place_of_greatest == place_of_least)) {
        return false;
    }
    unsigned scale = 0;
    while (scale < 4 && (0x80U << scale) <= greatest - least) {
        ++scale;
    }
    for (unsigned other = 0; other < 14; ++other) {
        if (bits.take(7) > (greatest - least) >> scale) {
            return false;
        }
    }
    return true;
}

bool are_cells(const unsigned char* row, std::size_t columns) {
    const std::size_t bytes = columns / kPairColumns * 2 * kCellBytes;
    for (std::size_t at = 0; at < bytes; at += kCellBytes) {
        if (!is_cell(row + at)) {
            return false;
        }
    }
    return true;
}

} // namespace

Sign find_broken_cells(const RawDecoder& decoder, FileBytes& file, std::uint64_t image) {
    if (!decoder.is_made_of_cells()) {
        return {};
    }
    const std::size_t columns = decoder.sensor_columns(); // A byte per sample.
    std::vector<std::size_t> rows;
    for (std::size_t row = decoder.rows_above_picture(); row < decoder.sensor_rows(); ++row) {
        const auto bytes = file.read(image + row * columns, columns);
        if (bytes.size() < columns || !are_cells(bytes.data(), columns)) {
            rows.push_back(row - decoder.rows_above_picture());
        }
    }
    return sign_of_rows(std::move(rows), "cells that no camera writes");
}

} // namespace plate_mend::host
