#pragma once

#include <jpeg_bits/BitReader.h>
#include <jpeg_bits/HuffmanTable.h>

#include <array>
#include <cstdint>

namespace lossless_jpeg {

/// How many bits follow the code of a category. One of category 16 has none.
[[nodiscard]] inline unsigned additional_bits(int category) {
    return category == 16 ? 0 : static_cast<unsigned>(category);
}

/// How many bits a difference has: its code and the additional bits.
class SkipTable {
  public:
    /// The codes must be a prefix code with symbols of at most 16.
    explicit SkipTable(const jpeg_bits::HuffmanCodes& codes);

    /// The most bits that skip() needs loaded.
    static constexpr unsigned kMostBits = 31;

    /// The most bits of a difference, at most kMostBits.
    [[nodiscard]] unsigned longest() const { return longest_; }

    /// Skips a difference; returns false for bits that are no code. At least longest() bits must be loaded;
    /// after a rare code, 57 are loaded.
    [[nodiscard]] bool skip(jpeg_bits::BitReader& reader) const {
        const unsigned bits = bits_[reader.peek_loaded(kIndexBits)];
        if (bits == 0) [[unlikely]] {
            return skip_rare(reader);
        }
        reader.skip(bits);
        return true;
    }

    [[nodiscard]] const jpeg_bits::HuffmanTable& table() const { return table_; }

  private:
    static constexpr unsigned kIndexBits = 12;

    [[nodiscard]] bool skip_rare(jpeg_bits::BitReader& reader) const {
        jpeg_bits::BitReader copy = reader; // The reader itself can stay in registers.
        const bool good = skip_long(copy);
        reader = copy;
        return good;
    }
    [[nodiscard]] bool skip_long(jpeg_bits::BitReader& reader) const;

    std::array<std::uint8_t, 1U << kIndexBits> bits_{}; // 0 for longer codes and for bits that are none.
    unsigned longest_ = 0;
    jpeg_bits::HuffmanTable table_;
};

} // namespace lossless_jpeg
