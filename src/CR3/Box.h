#pragma once

#include "util/MMap.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <utility>
#include <vector>

// What all CR3 code shares: the box, and how its fields are read and written.
//
// A CR3 file is an ISO BMFF container (ISO/IEC 14496-12). Every number in it is big-endian, and every box
// begins with the same header:
//
//   offset  width
//   0       4      size, of the whole box with its header
//   4       4      type, four ASCII characters

namespace plate_mend {

/// A box type as a number: "ftyp" is 0x66747970.
consteval std::uint32_t four_cc(const char (&code)[5]) {
    std::uint32_t number = 0;
    for (std::size_t index = 0; index < 4; ++index) {
        number = number << 8U | static_cast<unsigned char>(code[index]);
    }
    return number;
}

/// The identifier of a "uuid" box, as four big-endian words.
using BoxUuid = std::array<std::uint32_t, 4>;

/// A box in memory. A raw box keeps everything after its header in data; other classes have fields or
/// children of their own, and their data stays empty.
///
/// Sizes are kept as read and written back unchanged, whatever they are. All accessors pass vectors by value:
/// to change a payload, take the copy, change it and set it. A parent owns its children through
/// std::shared_ptr; a getter returns a copy of that pointer.
class Box {
  public:
    [[nodiscard]] std::uint32_t get_size() const { return size; }
    [[nodiscard]] std::uint32_t get_type() const { return type; }
    [[nodiscard]] std::vector<unsigned char> get_data() const { return data; }
    void set_size(std::uint32_t value) { size = value; }
    void set_type(std::uint32_t value) { type = value; }
    void set_data(std::vector<unsigned char> value) { data = std::move(value); }

  protected:
    std::uint32_t size = 0; ///< In bytes, header included.
    std::uint32_t type = 0; ///< See four_cc.
    std::vector<unsigned char> data;
};

// Reading. The cursor is always on the last byte read, so each of these begins after it, as read_next_u16 and
// read_next_u32 do. All throw OutRangeException at the end of the file.

/// The next four words.
[[nodiscard]] BoxUuid read_next_uuid(MMAP& map);

/// The next four bytes, unchanged.
[[nodiscard]] std::array<unsigned char, 4> read_next_four(MMAP& map);

/// The next count bytes, in one copy. When fewer are left, throws OutRangeException before any memory is
/// allocated for them; the cursor then stays. A count of 0 returns an empty vector wherever the cursor is.
[[nodiscard]] std::vector<unsigned char> read_next_bytes(MMAP& map, std::uint32_t count);

/// Skips the next count bytes, with the errors of read_next_bytes, and leaves the cursor on the last of them.
void skip_next_bytes(MMAP& map, std::uint32_t count);

// Writing. Failed writes go unnoticed here; the stream keeps its state.

void write_u16(std::ostream& stream, std::uint16_t value);
void write_u32(std::ostream& stream, std::uint32_t value);
void write_u64(std::ostream& stream, std::uint64_t value);
void write_uuid(std::ostream& stream, const BoxUuid& uuid);
void write_four(std::ostream& stream, const std::array<unsigned char, 4>& bytes);
void write_bytes(std::ostream& stream, const std::vector<unsigned char>& bytes);

} // namespace plate_mend
