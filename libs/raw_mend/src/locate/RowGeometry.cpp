#include "locate/RowGeometry.h"

#include <numeric>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMaxRowBytes = std::uint64_t{1} << 20U;
constexpr std::uint64_t kMaxRows = std::uint64_t{1} << 20U;
constexpr std::uint64_t kMinUnits = 64;
constexpr unsigned kBytesOfCell = 16;

bool is_packed(Packing packing) {
    return packing == Packing::kPackedHighFirst || packing == Packing::kPackedLowFirst;
}

bool bits_fit(Packing packing, unsigned bits) {
    if (packing == Packing::kBytes) {
        return bits == 8;
    }
    return packing == Packing::kCells || (bits >= 8 && bits <= 16);
}

} // namespace

unsigned RowGeometry::group_bytes() const {
    switch (packing) {
    case Packing::kBytes:
        return 1;
    case Packing::kLittleWords:
    case Packing::kBigWords:
        return 2;
    case Packing::kCells:
        return kBytesOfCell;
    default:
        return bits / std::gcd(bits, 8U);
    }
}

unsigned RowGeometry::group_units() const {
    return is_packed(packing) ? 8 / std::gcd(bits, 8U) : 1;
}

bool RowGeometry::supported() const {
    return bits_fit(packing, bits) && samples_per_pixel >= 1 && samples_per_pixel <= 4 && cfa_period >= 1 &&
           cfa_period <= 2 && rows >= 1 && rows <= kMaxRows && row_bytes >= 1 && row_bytes <= kMaxRowBytes &&
           (is_even() || is_packed(packing)) && row_units() >= kMinUnits;
}

} // namespace raw_mend
