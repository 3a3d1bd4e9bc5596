#pragma once

#include "Bytes.h"

#include <cstddef>
#include <cstdint>

namespace raw_mend {

/// Reads bits, the highest of each byte first, without any stuffing. After the end of the data it returns
/// zeros, and overrun() reports that such zeros were consumed.
class PlainBits {
  public:
    /// The data must outlive the reader.
    explicit PlainBits(Bytes data) : data_(data) {}

    /// The next 1 to 32 bits, not consumed.
    [[nodiscard]] std::uint32_t peek(unsigned count) {
        while (loaded_ < count) {
            window_ |= std::uint64_t{next_ < data_.size() ? data_[next_] : 0U} << (56U - loaded_);
            ++next_;
            loaded_ += 8;
        }
        return static_cast<std::uint32_t>(window_ >> (64U - count));
    }

    /// Consumes at most what peek has shown.
    void skip(unsigned count) {
        window_ <<= count;
        loaded_ -= count;
    }

    /// The next 0 to 32 bits.
    [[nodiscard]] std::uint32_t get(unsigned count) {
        if (count == 0) {
            return 0;
        }
        const std::uint32_t bits = peek(count);
        skip(count);
        return bits;
    }

    /// Bytes of which a bit was consumed.
    [[nodiscard]] std::size_t bytes() const { return next_ - loaded_ / 8; }

    [[nodiscard]] bool overrun() const { return bytes() > data_.size(); }

  private:
    Bytes data_;
    std::size_t next_ = 0;
    std::uint64_t window_ = 0; // The next loaded_ bits are its highest; the others are zeros.
    unsigned loaded_ = 0;
};

} // namespace raw_mend
