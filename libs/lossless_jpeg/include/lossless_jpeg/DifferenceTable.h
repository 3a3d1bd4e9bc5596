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

/// A Huffman table for differences: each is the code of a category and its additional bits. Rare codes are
/// those longer than 12 bits, and that of category 16.
class DifferenceTable {
  public:
    /// The codes must be a prefix code with symbols of at most 16.
    explicit DifferenceTable(const jpeg_bits::HuffmanCodes& codes);

    /// The most bits of a difference, at most 31.
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

    /// Decodes a difference, -32767 to 32768, modulo 65536; else like skip().
    [[nodiscard]] bool take(jpeg_bits::BitReader& reader, std::uint16_t& difference) const {
        const unsigned index = reader.peek_loaded(kIndexBits);
        const unsigned bits = bits_[index];
        if (bits == 0) [[unlikely]] {
            return take_rare(reader, difference);
        }
        const unsigned category = categories_[index];
        const unsigned most = (1U << category) - 1U;
        const unsigned value = reader.peek_loaded(bits) & most;
        const unsigned positive = value * 2U >> category; // The highest bit; 0 in category 0.
        difference = static_cast<std::uint16_t>(value - (most & (positive - 1U)));
        reader.skip(bits);
        return true;
    }

    [[nodiscard]] const jpeg_bits::HuffmanTable& table() const { return table_; }

  private:
    static constexpr unsigned kIndexBits = 12;

    [[nodiscard]] bool skip_rare(jpeg_bits::BitReader& reader) const {
        std::uint16_t unused = 0;
        return take_rare(reader, unused);
    }
    [[nodiscard]] bool take_rare(jpeg_bits::BitReader& reader, std::uint16_t& difference) const {
        jpeg_bits::BitReader copy = reader; // The reader itself can stay in registers.
        const int decoded = decode_long(copy);
        reader = copy;
        difference = static_cast<std::uint16_t>(decoded);
        return decoded != kNoCode;
    }

    static constexpr int kNoCode = 65536;

    /// Loads bits as well, before and after.
    [[nodiscard]] int decode_long(jpeg_bits::BitReader& reader) const;

    /// A difference's bits; 0 for rare codes and for bits that are no code.
    std::array<std::uint8_t, 1U << kIndexBits> bits_{};
    std::array<std::uint8_t, 1U << kIndexBits> categories_{};
    unsigned longest_ = 0;
    jpeg_bits::HuffmanTable table_;
};

} // namespace lossless_jpeg
