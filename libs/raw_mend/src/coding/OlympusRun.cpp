#include "coding/Headless.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdlib>

namespace raw_mend {

namespace {

constexpr std::size_t kSkipped = 7; // Bytes before the first value.
constexpr int kOlympusValues = 1 << 12U;
constexpr unsigned kLongestPrefix = 12; // Zeros.
constexpr unsigned kLowBits = 2;
constexpr std::uint64_t kFirstRunValues = 32; // That are tried before anything is allocated.
constexpr int kMostDifference = 1 << 14U;     // More is beyond the range of values anyway.

/// How large the last differences of one colour in a row were.
struct Carry {
    unsigned magnitude = 0;
    int drift = 0;
    unsigned calm = 0;
};

/// The number of zeros before a one, or what is in its place after the longest prefix.
unsigned read_prefix(PlainBits& bits, unsigned middle_bits) {
    const std::uint32_t next = bits.peek(kLongestPrefix);
    if (next == 0) {
        bits.skip(kLongestPrefix);
        return bits.get(16 - middle_bits) >> 1U;
    }
    const unsigned zeros = kLongestPrefix - static_cast<unsigned>(std::bit_width(next));
    bits.skip(zeros + 1);
    return zeros;
}

int read_difference(PlainBits& bits, Carry& carry) {
    const unsigned spare = carry.calm < 3 ? 2 : 0;
    const auto magnitude_bits = static_cast<unsigned>(std::bit_width(carry.magnitude & 0xFFFFU));
    const unsigned middle_bits = std::max(2 + spare, magnitude_bits - std::min(magnitude_bits, spare));
    const bool is_negative = bits.get(1) != 0;
    const auto low = static_cast<int>(bits.get(kLowBits));
    const unsigned high = read_prefix(bits, middle_bits);
    carry.magnitude = high << middle_bits | bits.get(middle_bits);
    const int magnitude = static_cast<int>(carry.magnitude);
    const int difference = (is_negative ? -magnitude - 1 : magnitude) + carry.drift;
    carry.drift = (difference * 3 + carry.drift) >> 5U;
    carry.calm = carry.magnitude > 16 ? 0 : carry.calm + 1;
    return std::clamp(difference, -kMostDifference, kMostDifference) * (1 << kLowBits) + low;
}

/// By the neighbours to the left, above, and above the left one.
int predict(int left, int above, int corner) {
    const bool is_between = (left < corner && corner < above) || (above < corner && corner < left);
    if (!is_between) {
        return std::abs(left - corner) > std::abs(above - corner) ? left : above;
    }
    constexpr int kEdge = 32;
    const bool is_edge = std::abs(left - corner) > kEdge || std::abs(above - corner) > kEdge;
    return is_edge ? left + above - corner : (left + above) >> 1U;
}

/// The rows that values are predicted from.
class Rows {
  public:
    explicit Rows(std::size_t columns) : columns_(columns) {}

    [[nodiscard]] int predicted() const {
        const std::size_t column = values_.size() % columns_;
        const bool has_above = values_.size() >= 2 * columns_;
        if (column < 2) {
            return has_above ? back(2 * columns_) : 0;
        }
        return has_above ? predict(back(2), back(2 * columns_), back(2 * columns_ + 2)) : back(2);
    }

    void add(int value) { values_.push_back(static_cast<std::uint16_t>(value)); }

    [[nodiscard]] std::size_t size() const { return dropped_ + values_.size(); }

    /// Keeps the last two rows, once there are many.
    void end_row() {
        constexpr std::size_t kMostRows = 64;
        if (values_.size() >= kMostRows * columns_) {
            const std::size_t drop = values_.size() - 2 * columns_;
            values_.erase(values_.begin(), values_.begin() + static_cast<std::ptrdiff_t>(drop));
            dropped_ += drop;
        }
    }

  private:
    [[nodiscard]] int back(std::size_t count) const { return values_[values_.size() - count]; }

    std::size_t columns_;
    std::size_t dropped_ = 0;
    std::vector<std::uint16_t> values_;
};

/// Decodes a row; false at the first value that cannot be.
bool decode_row(PlainBits& bits, Rows& rows, std::size_t columns) {
    std::array<Carry, 2> carries;
    for (std::size_t column = 0; column < columns; ++column) {
        const int value = rows.predicted() + read_difference(bits, carries[column % 2]);
        if (value < 0 || value >= kOlympusValues || bits.overrun()) {
            return false;
        }
        rows.add(value);
    }
    rows.end_row();
    return true;
}

/// How many of the first values of a row at the top can be: most places where no image begins are ruled out
/// by these.
std::uint64_t count_first_values(Bytes data, std::uint64_t count) {
    PlainBits bits(data);
    std::array<Carry, 2> carries;
    std::array<int, 2> left{};
    for (std::uint64_t column = 0; column < count; ++column) {
        int& value = left[column % 2];
        value += read_difference(bits, carries[column % 2]);
        if (value < 0 || value >= kOlympusValues) {
            return column;
        }
    }
    return count;
}

} // namespace

HeadlessCoding olympus_coding(std::uint64_t columns, std::uint64_t rows) {
    const auto decode = [columns, rows](Bytes data) {
        if (data.size() <= kSkipped) {
            return Trial{};
        }
        const Bytes values = data.subspan(kSkipped);
        const std::uint64_t tried = std::min(columns, kFirstRunValues);
        if (const std::uint64_t first = count_first_values(values, tried); first < tried) {
            return Trial{first, 0};
        }
        PlainBits bits(values);
        Rows decoded(static_cast<std::size_t>(columns));
        for (std::uint64_t row = 0; row < rows; ++row) {
            if (!decode_row(bits, decoded, static_cast<std::size_t>(columns))) {
                return Trial{decoded.size(), 0};
            }
        }
        return Trial{decoded.size(), kSkipped + bits.bytes()};
    };
    return {columns * rows, decode, nullptr, nullptr};
}

} // namespace raw_mend
