#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string_view>

namespace byte_reader {

/// Reads numbers and texts from bytes in memory, in one byte order, and never outside them: whatever the
/// offset, a number that is not completely within the bytes is nothing. The bytes are not copied and must
/// outlive the reader.
class ByteReader {
  public:
    ByteReader(std::span<const unsigned char> bytes, std::endian order) : bytes_(bytes), order_(order) {}

    [[nodiscard]] std::span<const unsigned char> bytes() const { return bytes_; }
    [[nodiscard]] std::uint64_t size() const { return bytes_.size(); }
    [[nodiscard]] std::endian order() const { return order_; }

    /// Whether `count` bytes from an offset on are there. True for no bytes at the very end.
    [[nodiscard]] bool holds(std::uint64_t offset, std::uint64_t count) const {
        return offset <= size() && count <= size() - offset;
    }

    [[nodiscard]] std::optional<std::uint8_t> u8(std::uint64_t offset) const {
        return number<std::uint8_t>(offset);
    }
    [[nodiscard]] std::optional<std::uint16_t> u16(std::uint64_t offset) const {
        return number<std::uint16_t>(offset);
    }
    [[nodiscard]] std::optional<std::uint32_t> u32(std::uint64_t offset) const {
        return number<std::uint32_t>(offset);
    }
    [[nodiscard]] std::optional<std::uint64_t> u64(std::uint64_t offset) const {
        return number<std::uint64_t>(offset);
    }

    /// Whether this text is at an offset, completely within the bytes.
    [[nodiscard]] bool has(std::uint64_t offset, std::string_view text) const {
        return holds(offset, text.size()) &&
               (text.empty() || std::memcmp(bytes_.data() + offset, text.data(), text.size()) == 0);
    }

    /// The first offset in [start, end) at which this text is, completely before the end; nothing if there is
    /// none. An end past the last byte means the last byte. The text must not be empty.
    [[nodiscard]] std::optional<std::size_t> find(std::string_view text, std::uint64_t start = 0,
                                                  std::uint64_t end = ~std::uint64_t{0}) const;

  private:
    template <typename Number>
    [[nodiscard]] std::optional<Number> number(std::uint64_t offset) const {
        if (!holds(offset, sizeof(Number))) {
            return std::nullopt;
        }
        std::uint64_t value = 0;
        for (std::size_t index = 0; index < sizeof(Number); ++index) {
            const std::size_t from_first = order_ == std::endian::big ? index : sizeof(Number) - 1 - index;
            value = value << 8U | bytes_[static_cast<std::size_t>(offset) + from_first];
        }
        return static_cast<Number>(value);
    }

    std::span<const unsigned char> bytes_;
    std::endian order_;
};

} // namespace byte_reader
