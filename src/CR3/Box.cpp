#include "CR3/Box.h"

#include "api/Exceptions.h"
#include "util/Reading.h"
#include "util/Slice.h"

namespace plate_mend {

namespace {

/// The low Width bytes of a number, high byte first.
template <std::size_t Width>
void write_number(std::ostream& stream, std::uint64_t value) {
    std::array<unsigned char, Width> bytes{};
    for (std::size_t index = Width; index-- > 0; value >>= 8U) {
        bytes[index] = static_cast<unsigned char>(value);
    }
    insert_bytes(stream, bytes);
}

} // namespace

BoxUuid read_next_uuid(MMAP& map) {
    BoxUuid uuid{};
    for (std::uint32_t& word : uuid) {
        word = read_next_u32(map);
    }
    return uuid;
}

std::array<unsigned char, 4> read_next_four(MMAP& map) {
    const std::uint32_t word = read_next_u32(map);
    return {static_cast<unsigned char>(word >> 24U), static_cast<unsigned char>(word >> 16U),
            static_cast<unsigned char>(word >> 8U), static_cast<unsigned char>(word)};
}

std::vector<unsigned char> read_next_bytes(MMAP& map, std::uint32_t count) {
    if (count == 0) {
        return {};
    }
    skip_next_bytes(map, count);
    const auto bytes = slice(map, map.position() + 1 - count, count);
    return {bytes.begin(), bytes.end()};
}

void skip_next_bytes(MMAP& map, std::uint32_t count) {
    if (count != 0) {
        (void)slice(map, map.position() + 1, count); // Throws before the cursor moves.
        map.advance(count);
    }
}

void write_u16(std::ostream& stream, std::uint16_t value) {
    write_number<2>(stream, value);
}

void write_u32(std::ostream& stream, std::uint32_t value) {
    write_number<4>(stream, value);
}

void write_u64(std::ostream& stream, std::uint64_t value) {
    write_number<8>(stream, value);
}

void write_uuid(std::ostream& stream, const BoxUuid& uuid) {
    for (const std::uint32_t word : uuid) {
        write_u32(stream, word);
    }
}

void write_four(std::ostream& stream, const std::array<unsigned char, 4>& bytes) {
    insert_bytes(stream, bytes);
}

void write_bytes(std::ostream& stream, const std::vector<unsigned char>& bytes) {
    insert_bytes(stream, bytes);
}

} // namespace plate_mend
