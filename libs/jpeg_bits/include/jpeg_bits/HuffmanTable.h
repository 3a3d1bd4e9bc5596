#pragma once

#include <jpeg_bits/BitReader.h>

#include <array>
#include <cstdint>

namespace jpeg_bits {

/// A table as DHT carries it: how many codes of each length 1 to 16, and their symbols in order.
struct HuffmanCodes {
    std::array<std::uint8_t, 16> counts{};
    std::array<std::uint8_t, 256> symbols{};

    bool operator==(const HuffmanCodes&) const = default;
    /// How many codes the counts claim, more than 256 included.
    [[nodiscard]] unsigned size() const;
    /// Whether no length has more codes than the shorter ones leave room for.
    [[nodiscard]] bool is_prefix_code() const;
};

/// The tables of ITU-T T.81, annex K.3: those for luma if chroma is false.
[[nodiscard]] const HuffmanCodes& standard_dc_codes(bool chroma);
[[nodiscard]] const HuffmanCodes& standard_ac_codes(bool chroma);

/// The same table made ready for decoding. The codes must be a prefix code of at most 256.
class HuffmanTable {
  public:
    HuffmanTable() = default;
    explicit HuffmanTable(const HuffmanCodes& codes);

    /// The next symbol, or -1 for bits that are no code.
    [[nodiscard]] int decode(BitReader& reader) const {
        const unsigned bits = reader.peek(16);
        const std::uint16_t entry = fast_[bits >> (16U - kFastBits)];
        if (entry != 0) {
            reader.skip(entry >> 8U);
            return entry & 0xFF;
        }
        return decode_long(reader, bits);
    }

  private:
    static constexpr unsigned kFastBits = 9;

    [[nodiscard]] int decode_long(BitReader& reader, unsigned bits) const;

    std::array<std::uint16_t, 1U << kFastBits> fast_{}; // Length and symbol; 0 for longer codes.
    std::array<std::uint32_t, 17> end_{};               // First code after those of a length, as 16 bits.
    std::array<std::int32_t, 17> shift_{};              // Index of a symbol less its code.
    std::array<std::uint8_t, 256> symbols_{};
};

} // namespace jpeg_bits
