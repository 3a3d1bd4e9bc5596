#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace test {

using Bytes = std::vector<unsigned char>;

enum class ByteOrder { kLittle, kBig };
std::ostream& operator<<(std::ostream& stream, ByteOrder order);

/// Numbers at an offset of bytes, which must be inside.
void put_u16(Bytes& bytes, std::size_t offset, std::uint16_t value, ByteOrder order);
void put_u32(Bytes& bytes, std::size_t offset, std::uint32_t value, ByteOrder order);
[[nodiscard]] std::uint16_t get_u16(const Bytes& bytes, std::size_t offset, ByteOrder order);
[[nodiscard]] std::uint32_t get_u32(const Bytes& bytes, std::size_t offset, ByteOrder order);

/// Overwrites bytes from the offset on; they must be inside.
void put_bytes(Bytes& bytes, std::size_t offset, const Bytes& value);
void put_text(Bytes& bytes, std::size_t offset, std::string_view text);

/// count bytes that look like nothing, the same for the same seed.
[[nodiscard]] Bytes noise(std::size_t count, std::uint32_t seed);

/// The bytes [first, last), and two runs of bytes joined.
[[nodiscard]] Bytes part(const Bytes& bytes, std::size_t first, std::size_t last);
[[nodiscard]] Bytes joined(Bytes first, const Bytes& second);

/// The same bytes with [first, last) set to zero, and with others from the offset on.
[[nodiscard]] Bytes zeroed(Bytes bytes, std::size_t first, std::size_t last);
[[nodiscard]] Bytes with(Bytes bytes, std::size_t offset, const Bytes& value);

/// The bytes as a transfer in text mode leaves them: CR is put before each LF.
[[nodiscard]] Bytes in_text_mode(const Bytes& bytes);

/// Numbers side by side.
[[nodiscard]] Bytes u16_bytes(const std::vector<std::uint16_t>& values, ByteOrder order);
[[nodiscard]] Bytes u32_bytes(const std::vector<std::uint32_t>& values, ByteOrder order);

/// Whole files. Throw std::runtime_error on failure.
[[nodiscard]] Bytes read_file(const std::filesystem::path& path);
void write_file(const std::filesystem::path& path, const Bytes& bytes);

/// A path as the UTF-8 string that the library takes.
[[nodiscard]] std::string utf8(const std::filesystem::path& path);

} // namespace test
