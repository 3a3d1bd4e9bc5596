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
            fill();
        }
        return peek_loaded(count);
    }

    /// Consumes what peek has shown.
    void skip(unsigned count) {
        window_ <<= count;
        bits_ -= count;
    }

    /// Loads bits, so that 57 or more are loaded.
    void fill() {
        if (bits_ <= 56 && !fill_from_plain_bytes()) {
            fill_bytewise();
        }
    }

    /// The next 1 to 16 bits, not consumed; as many must be loaded.
    [[nodiscard]] unsigned peek_loaded(unsigned count) const {
        return static_cast<unsigned>(window_ >> (64U - count));
    }

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
        fill();
        return padding_ > 0 && bits_ >= padding_ && bits_ - padding_ < 8;
    }

    /// Whether fewer than this many bits, at most 57, are left before a marker or the end.
    [[nodiscard]] bool ends_within(unsigned count) {
        fill();
        return padding_ > 0 && bits_ < padding_ + count;
    }

    /// The offset of the next byte to be loaded, at most eight bytes ahead of the next bit. After closes() or
    /// an overrun that is where reading stopped: the marker's FF, or the end.
    [[nodiscard]] std::size_t stop() const { return position_; }

    /// The offset of the first byte of which no bit was consumed.
    [[nodiscard]] std::size_t offset() const { return bytes_back(overrun() ? 0 : (bits_ - padding_) / 8); }

    /// The offset of the byte that the next bit is in. FF 00 is one byte, at the offset of the FF.
    [[nodiscard]] std::size_t byte_of_next_bit() const {
        return bytes_back(overrun() ? 0 : (bits_ - padding_ + 7) / 8);
    }

    /// Which bit of that byte is the next: 0 is the highest, 7 the lowest.
    [[nodiscard]] unsigned next_bit() const { return overrun() ? 0 : (8 - (bits_ - padding_) % 8) % 8; }

  private:
    [[nodiscard]] std::size_t bytes_back(std::uint32_t count) const {
        std::size_t at = position_;
        for (; count > 0 && at > 0; --count) {
            --at;
            if (data_[at] == 0x00 && at > 0 && data_[at - 1] == 0xFF) {
                --at; // FF 00 is one byte.
            }
        }
        return at;
    }

    /// Loads as many bytes as there is room for if none of the next eight is FF; there must be room for one.
    bool fill_from_plain_bytes() {
        if (data_.size() < 8 || position_ > data_.size() - 8) {
            return false;
        }
        const std::uint64_t bytes = eight_bytes(data_.data() + position_);
        if (has_ff(bytes)) {
            return false;
        }
        window_ |= bytes >> bits_; // The last byte's bits without room come again with the next load.
        const std::uint32_t loaded = (64U - bits_) / 8U;
        position_ += loaded;
        bits_ += 8U * loaded;
        return true;
    }

    void fill_bytewise() {
        while (bits_ <= 56) {
            window_ |= std::uint64_t{next_byte()} << (56U - bits_);
            bits_ += 8;
        }
    }

    static std::uint64_t eight_bytes(const unsigned char* from) {
        return std::uint64_t{from[0]} << 56U | std::uint64_t{from[1]} << 48U | std::uint64_t{from[2]} << 40U |
               std::uint64_t{from[3]} << 32U | std::uint64_t{from[4]} << 24U | std::uint64_t{from[5]} << 16U |
               std::uint64_t{from[6]} << 8U | std::uint64_t{from[7]};
    }

    static bool has_ff(std::uint64_t bytes) {
        // A byte of the complement that is zero borrows from its highest bit.
        return ((~bytes - 0x0101010101010101U) & bytes & 0x8080808080808080U) != 0;
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
    std::uint64_t window_ = 0; // The next bits_ bits are its highest. Any after them are the next byte's.
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
