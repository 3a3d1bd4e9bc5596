#include "container/Boxes.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <limits>
#include <string>

namespace raw_mend {

namespace {

using byte_reader::ByteReader;

/// | size (4) | type (4) |, and with a size of 1: | size (8) |
std::optional<Box> read_box(const ByteReader& reader, std::uint64_t at, std::uint64_t end) {
    const auto size = reader.u32(at);
    const auto type = reader.u32(at + 4);
    if (!size || !type || end - at < 8) {
        return std::nullopt;
    }
    Box box{.type = *type, .at = at, .payload = at + 8, .end = end, .stated_end = end, .size_field = {}};
    std::uint64_t length = *size;
    if (*size == 0) {
        return box;
    }
    box.size_field = NumberField{.at = at, .size = 4, .order = ByteOrder::kBig, .base = 0};
    if (*size == 1) {
        length = reader.u64(at + 8).value_or(0);
        box.payload = at + 16;
        box.size_field = NumberField{.at = at + 8, .size = 8, .order = ByteOrder::kBig, .base = 0};
    }
    if (length < box.payload - at || length > std::numeric_limits<std::int64_t>::max() || box.payload > end) {
        return std::nullopt;
    }
    box.stated_end = at + length;
    box.end = std::min(box.stated_end, end);
    return box;
}

/// The four characters of a type, if they can be printed.
std::string name_of(std::uint32_t type) {
    std::string name;
    for (const unsigned shift : {24U, 16U, 8U, 0U}) {
        const unsigned character = type >> shift & 0xFFU;
        name.push_back(character >= 0x20 && character < 0x7F ? static_cast<char>(character) : '?');
    }
    return name;
}

} // namespace

std::vector<Box> read_boxes(Inventory& inventory, std::uint64_t start, std::uint64_t end) {
    const ByteReader reader(inventory.bytes(), std::endian::big);
    std::vector<Box> boxes;
    std::uint64_t at = start;
    while (at < end) {
        if (!inventory.spend_box()) {
            break;
        }
        const auto box = read_box(reader, at, end);
        if (!box) {
            inventory.add_sentence("There is no box at offset " + std::to_string(at) +
                                   ", where one should be.");
            break;
        }
        if (box->stated_end > end) {
            inventory.add_sentence("The box " + name_of(box->type) + " at offset " + std::to_string(at) +
                                   " states more bytes than there are.");
        }
        boxes.push_back(*box);
        at = box->end;
    }
    return boxes;
}

const Box* find_box(const std::vector<Box>& boxes, std::uint32_t type) {
    const auto found = std::ranges::find(boxes, type, &Box::type);
    return found == boxes.end() ? nullptr : &*found;
}

} // namespace raw_mend
