#pragma once

#include "container/Inventory.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// A box type as a number: "ftyp" is 0x66747970.
consteval std::uint32_t four_cc(const char (&code)[5]) {
    std::uint32_t number = 0;
    for (unsigned index = 0; index < 4; ++index) {
        number = number << 8U | static_cast<unsigned char>(code[index]);
    }
    return number;
}

/// A box (ISO BMFF).
struct Box {
    std::uint32_t type = 0;
    std::uint64_t at = 0;      ///< Offset of its header.
    std::uint64_t payload = 0; ///< Offset of what follows the header.
    std::uint64_t end = 0;     ///< At most that of what it is in: a box that states more is cut.
    std::uint64_t stated_end = 0;
    std::optional<NumberField> size_field; ///< Nothing where the size is 0: it extends to the end.
};

/// The boxes side by side in [start, end) of the file. The list ends at the first bytes that are no box; that
/// is noted in the inventory, and so is a box that states more than there is room for.
[[nodiscard]] std::vector<Box> read_boxes(Inventory& inventory, std::uint64_t start, std::uint64_t end);

/// The first box of a type, or null.
[[nodiscard]] const Box* find_box(const std::vector<Box>& boxes, std::uint32_t type);

} // namespace raw_mend
