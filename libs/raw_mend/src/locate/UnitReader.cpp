#include "locate/UnitReader.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <numeric>

namespace raw_mend {

namespace {

/// Reads groups of samples, the first one at their highest bits if high_first, else at their lowest.
template <unsigned kBits, bool kHighFirst>
void read_packed(Bytes bytes, std::size_t count, float* out) {
    constexpr unsigned kGroupBytes = kBits / std::gcd(kBits, 8U);
    constexpr unsigned kGroupUnits = 8 / std::gcd(kBits, 8U);
    constexpr unsigned kPartUnits = std::min(kGroupUnits, 4U); // At most 64 bits, with those of their bytes.
    constexpr std::uint64_t kMask = (std::uint64_t{1} << kBits) - 1;
    for (std::size_t group = 0; group < count / kGroupUnits; ++group) {
        const unsigned char* const from = bytes.data() + group * kGroupBytes;
        for (unsigned first_bit = 0; first_bit < kGroupUnits * kBits; first_bit += kPartUnits * kBits) {
            const unsigned first = first_bit / 8;
            const unsigned last = (first_bit + kPartUnits * kBits + 7) / 8;
            std::uint64_t pending = 0;
            for (unsigned byte = first; byte < last; ++byte) {
                pending |= std::uint64_t{from[byte]}
                           << (kHighFirst ? 56 - 8 * (byte - first) : 8 * (byte - first));
            }
            pending = kHighFirst ? pending << first_bit % 8 : pending >> first_bit % 8;
            for (unsigned i = 0; i < kPartUnits; ++i) {
                *out++ = static_cast<float>(kHighFirst ? pending >> (64 - kBits) : pending & kMask);
                pending = kHighFirst ? pending << kBits : pending >> kBits;
            }
        }
    }
}

template <bool kHighFirst>
void read_packed(unsigned bits, Bytes bytes, std::size_t count, float* out) {
    switch (bits) {
    case 8:
        return read_packed<8, kHighFirst>(bytes, count, out);
    case 9:
        return read_packed<9, kHighFirst>(bytes, count, out);
    case 10:
        return read_packed<10, kHighFirst>(bytes, count, out);
    case 11:
        return read_packed<11, kHighFirst>(bytes, count, out);
    case 12:
        return read_packed<12, kHighFirst>(bytes, count, out);
    case 13:
        return read_packed<13, kHighFirst>(bytes, count, out);
    case 14:
        return read_packed<14, kHighFirst>(bytes, count, out);
    case 15:
        return read_packed<15, kHighFirst>(bytes, count, out);
    case 16:
        return read_packed<16, kHighFirst>(bytes, count, out);
    default:
        break;
    }
}

template <std::endian kOrder>
void read_words(Bytes bytes, std::size_t count, float* out) {
    const unsigned char* const from = bytes.data();
    for (std::size_t i = 0; i < count; ++i) {
        std::uint16_t word = 0;
        std::memcpy(&word, from + sizeof(word) * i, sizeof(word));
        if constexpr (kOrder != std::endian::native) {
            word = static_cast<std::uint16_t>(word << 8U | word >> 8U);
        }
        out[i] = static_cast<float>(word);
    }
}

/// A cell: 11 bits each of its greatest and least sample, 4 each of their places, and 7 for each other
/// sample, how far it is above the least one; all from the lowest bit on.
class Cell {
  public:
    explicit Cell(const unsigned char* bytes) {
        for (unsigned i = 0; i < 8; ++i) {
            low_ |= std::uint64_t{bytes[i]} << 8 * i;
            high_ |= std::uint64_t{bytes[8 + i]} << 8 * i;
        }
        greatest_ = bits(0, 11);
        least_ = bits(11, 11);
        greatest_at_ = bits(22, 4);
        least_at_ = bits(26, 4);
        while (shift_ < 4 && (128U << shift_) <= greatest_ - least_ && greatest_ >= least_) {
            ++shift_;
        }
    }

    [[nodiscard]] float sample(unsigned index) const {
        if (index == greatest_at_) {
            return static_cast<float>(greatest_);
        }
        if (index == least_at_) {
            return static_cast<float>(least_);
        }
        const unsigned before = index - (greatest_at_ < index ? 1 : 0) - (least_at_ < index ? 1 : 0);
        const bool one_extreme = greatest_at_ == least_at_;
        const unsigned slot = one_extreme && greatest_at_ < index ? before + 1 : before;
        return static_cast<float>(least_ + (slot < 14 ? bits(30 + 7 * slot, 7) << shift_ : 0));
    }

  private:
    [[nodiscard]] unsigned bits(unsigned from, unsigned count) const {
        const std::uint64_t from_low = from < 64 ? low_ >> from : 0;
        const std::uint64_t from_high = from >= 64 ? high_ >> (from - 64)
                                        : from > 0 ? high_ << (64 - from)
                                                   : 0;
        return static_cast<unsigned>((from_low | from_high) & ((1U << count) - 1));
    }

    std::uint64_t low_ = 0;
    std::uint64_t high_ = 0;
    unsigned greatest_ = 0;
    unsigned least_ = 0;
    unsigned greatest_at_ = 0;
    unsigned least_at_ = 0;
    unsigned shift_ = 0;
};

void read_cells(Bytes bytes, std::size_t count, Units& units) {
    units.second.resize(count);
    units.last_but_one.resize(count);
    units.last.resize(count);
    for (std::size_t i = 0; i < count; ++i) {
        const Cell cell(bytes.data() + 16 * i);
        units.first[i] = cell.sample(0);
        units.second[i] = cell.sample(1);
        units.last_but_one[i] = cell.sample(14);
        units.last[i] = cell.sample(15);
    }
}

} // namespace

void read_units(const RowGeometry& geometry, Bytes bytes, std::size_t count, Units& units) {
    units.first.resize(count);
    float* const first = units.first.data();
    switch (geometry.packing) {
    case Packing::kBytes:
        for (std::size_t i = 0; i < count; ++i) {
            first[i] = static_cast<float>(bytes[i]);
        }
        break;
    case Packing::kLittleWords:
        read_words<std::endian::little>(bytes, count, first);
        break;
    case Packing::kBigWords:
        read_words<std::endian::big>(bytes, count, first);
        break;
    case Packing::kPackedHighFirst:
        read_packed<true>(geometry.bits, bytes, count, first);
        break;
    case Packing::kPackedLowFirst:
        read_packed<false>(geometry.bits, bytes, count, first);
        break;
    case Packing::kCells:
        read_cells(bytes, count, units);
        break;
    }
}

} // namespace raw_mend
