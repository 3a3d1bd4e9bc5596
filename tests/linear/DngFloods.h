#pragma once

#include "support/Bytes.h"

#include <cstdint>
#include <string>
#include <vector>

namespace test {

/// Writes entries and numbers of a DNG that need not make sense.
class DngBytes {
  public:
    explicit DngBytes(ByteOrder order) : order_(order) {}

    DngBytes& header(std::uint32_t first_ifd);
    DngBytes& entry(std::uint16_t tag, std::uint32_t count, std::uint32_t value, std::uint16_t type = 4);
    DngBytes& number(std::uint32_t value);
    DngBytes& fill(std::size_t size, unsigned char value); ///< Up to this size of the whole.

    [[nodiscard]] std::uint32_t size() const { return static_cast<std::uint32_t>(bytes_.size()); }
    [[nodiscard]] const Bytes& bytes() const { return bytes_; }

  private:
    ByteOrder order_;
    Bytes bytes_;
};

/// Two DNG files of about size bytes of which one makes a search begin again and again.
struct DngFlood {
    std::string name;
    Bytes damaged;
    Bytes sample;
};

[[nodiscard]] std::vector<DngFlood> dng_floods(std::size_t size);

} // namespace test
