#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace jpeg_bits {

/// Reads the bits of an entropy-coded segment: undoes the stuffing of FF 00, and stops at the first marker or
/// at the end of the data. After the stop it returns zeros; overrun() reports that such zeros were consumed.
/// A copy is a place to come back to.
class BitReader {
  public:
    BitReader() = default;
    /// The data must outlive the reader. The offset is that of the first byte to read.
    BitReader(std::span<const unsigned char> data, std::size_t offset) : data_(data), position_(offset) {}

    /// The next 1 to 16 bits, not consumed.
    [[nodiscard]] unsigned peek(unsigned count) {
        if (bits_ < count) {
            refill();
        }
        return static_cast<unsigned>(window_ >> (bits_ - count)) & ((1U << count) - 1U);
    }

    /// Consumes what peek has shown.
    void skip(unsigned count) { bits_ -= count; }

    /// The next 1 to 16 bits.
    [[nodiscard]] unsigned get(unsigned count) {
        const unsigned value = peek(count);
        skip(count);
        return value;
    }

    /// Whether more bits were consumed than there are.
    [[nodiscard]] bool overrun() const { return bits_ < padding_; }

    /// Whether fewer than eight bits are left before a marker or the end, and no more were consumed than
    /// there are: this is how an entropy-coded segment ends.
    [[nodiscard]] bool closes() {
        refill();
        return padding_ > 0 && bits_ >= padding_ && bits_ - padding_ < 8;
    }

    /// The offset of the next byte to be loaded, at most eight bytes ahead of the next bit. After closes() or
    /// an overrun that is where reading stopped: the marker's FF, or the end.
    [[nodiscard]] std::size_t stop() const { return position_; }

    /// The offset of the first byte of which no bit was consumed.
    [[nodiscard]] std::size_t offset() const {
        std::size_t at = position_;
        for (std::uint32_t ahead = overrun() ? 0 : (bits_ - padding_) / 8; ahead > 0 && at > 0; --ahead) {
            --at;
            if (data_[at] == 0x00 && at > 0 && data_[at - 1] == 0xFF) {
                --at; // FF 00 is one byte.
            }
        }
        return at;
    }

  private:
    void refill() {
        while (bits_ <= 56) {
            window_ = window_ << 8U | next_byte();
            bits_ += 8;
        }
    }

    unsigned next_byte() {
        if (position_ < data_.size()) {
            const unsigned char byte = data_[position_];
            if (byte != 0xFF) {
                ++position_;
                return byte;
            }
            if (position_ + 1 < data_.size() && data_[position_ + 1] == 0x00) {
                position_ += 2;
                return byte;
            }
        }
        padding_ += 8;
        return 0;
    }

    std::span<const unsigned char> data_;
    std::size_t position_ = 0; // Offset of the next byte that is not in the window.
    std::uint64_t window_ = 0; // The next bits_ bits are its lowest.
    std::uint32_t bits_ = 0;
    std::uint32_t padding_ = 0; // Zeros that were made up; bits_ below this is an overrun.
};

/// The value that the next bits have in a category of 0 to 16 (ITU-T T.81, F.2.2.1, RECEIVE and EXTEND).
[[nodiscard]] inline int receive_extend(BitReader& reader, unsigned category) {
    if (category == 0) {
        return 0;
    }
    const auto value = static_cast<int>(reader.get(category));
    return value < (1 << (category - 1U)) ? value - (1 << category) + 1 : value;
}

} // namespace jpeg_bits
