#include "util/Reading.h"

#include "api/Exceptions.h"

#include <algorithm>

namespace plate_mend {

namespace {

unsigned char& byte_at_cursor(MMAP& map) {
    const auto bytes = map.bytes();
    if (map.position() >= bytes.size()) {
        throw OutRangeException();
    }
    return bytes[static_cast<std::size_t>(map.position())];
}

unsigned int next_byte(MMAP& map) {
    map.advance(1);
    return byte_at_cursor(map);
}

} // namespace

std::uint16_t read_u16(MMAP& map) {
    const unsigned int high = byte_at_cursor(map);
    return static_cast<std::uint16_t>(high << 8U | next_byte(map));
}

std::uint32_t read_u32(MMAP& map) {
    const std::uint32_t high = read_u16(map);
    return high << 16U | read_next_u16(map);
}

std::uint16_t read_next_u16(MMAP& map) {
    map.advance(1);
    return read_u16(map);
}

std::uint32_t read_next_u32(MMAP& map) {
    map.advance(1);
    return read_u32(map);
}

void write_byte(MMAP& map, unsigned char value) {
    byte_at_cursor(map) = value;
    map.advance(1);
}

void write_u32(MMAP& map, std::uint32_t value) {
    for (const unsigned int shift : {24U, 16U, 8U, 0U}) {
        write_byte(map, static_cast<unsigned char>(value >> shift));
    }
}

void write_zeros(MMAP& map, std::uint64_t count) {
    if (count == 0) {
        return;
    }
    byte_at_cursor(map); // Throws if there is nothing to write to.
    const auto rest = map.bytes().subspan(static_cast<std::size_t>(map.position()));
    const auto zeroed = static_cast<std::size_t>(std::min<std::uint64_t>(count, rest.size()));
    std::fill_n(rest.begin(), zeroed, static_cast<unsigned char>(0));
    map.advance(zeroed - 1); // To the last byte written;
    map.advance(1);          // and past it, which throws at the end of the file.
}

} // namespace plate_mend
