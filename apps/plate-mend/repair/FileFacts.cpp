#include "repair/FileFacts.h"

#include "files/FileBytes.h"
#include "files/Formats.h"

#include <vector>

namespace plate_mend::host {

namespace {

constexpr std::size_t kLookedAt = std::size_t{8} << 20U;
constexpr std::uint32_t kSmallest = 16; ///< Side of a picture, in pixels.
constexpr std::uint32_t kLargest = 65535;

using Bytes = std::vector<unsigned char>;

std::uint32_t number(const Bytes& bytes, std::size_t at, std::size_t size, bool little) {
    std::uint32_t value = 0;
    for (std::size_t index = 0; index < size; ++index) {
        value = value * 256 + bytes[at + (little ? size - 1 - index : index)];
    }
    return value;
}

void add(FileFacts& facts, std::uint32_t width, std::uint32_t height) {
    facts.sizes.emplace(width, height);
}

bool likely(std::uint32_t width, std::uint32_t height) {
    return width >= kSmallest && width <= kLargest && height >= kSmallest && height <= kLargest;
}

/// The value of a directory entry with this tag: type SHORT or LONG, count 1. 0 for anything else.
///
///   | 0 tag (2) | 2 type (2) | 4 count (4) | 8 value (4) |
std::uint32_t entry_value(const Bytes& bytes, std::size_t at, std::uint32_t tag, bool little) {
    constexpr std::uint32_t kShort = 3;
    constexpr std::uint32_t kLong = 4;
    const std::uint32_t type = number(bytes, at + 2, 2, little);
    if (number(bytes, at, 2, little) != tag || (type != kShort && type != kLong) ||
        number(bytes, at + 4, 4, little) != 1) {
        return 0;
    }
    return number(bytes, at + 8, type == kShort ? 2 : 4, little);
}

/// ImageWidth and ImageLength stand one behind the other in every directory.
void look_for_entries(const Bytes& bytes, std::size_t at, FileFacts& facts) {
    constexpr std::uint32_t kImageWidth = 256;
    constexpr std::uint32_t kImageLength = 257;
    const bool little = bytes[at] == 0;
    const std::uint32_t width = entry_value(bytes, at, kImageWidth, little);
    const std::uint32_t height = entry_value(bytes, at + 12, kImageLength, little);
    if (likely(width, height)) {
        add(facts, width, height);
        ++(little ? facts.little_endian : facts.big_endian);
    }
}

/// | FF Cn | length (2) | precision (1) | height (2) | width (2) | components (1) | 3 a component |
void look_for_frame(const Bytes& bytes, std::size_t at, FileFacts& facts) {
    const std::uint32_t kind = bytes[at + 1];
    const std::uint32_t components = bytes[at + 9];
    if (kind < 0xC0 || kind > 0xC3 || components < 1 || components > 4 ||
        number(bytes, at + 2, 2, false) != 8 + 3 * components || bytes[at + 4] < 8 || bytes[at + 4] > 16) {
        return;
    }
    const std::uint32_t height = number(bytes, at + 5, 2, false);
    const std::uint32_t width = number(bytes, at + 7, 2, false);
    if (likely(width, height)) {
        add(facts, width, height);
    }
}

/// A sample entry: | size (4) | "CRAW" | 24 bytes | width (2) | height (2) |
void look_for_track(const Bytes& bytes, std::size_t at, FileFacts& facts) {
    if (bytes[at + 1] != 'R' || bytes[at + 2] != 'A' || bytes[at + 3] != 'W') {
        return;
    }
    const std::uint32_t width = number(bytes, at + 28, 2, false);
    const std::uint32_t height = number(bytes, at + 30, 2, false);
    if (likely(width, height)) {
        add(facts, width, height);
    }
}

} // namespace

FileFacts facts_of(const std::filesystem::path& path) {
    FileFacts facts;
    facts.path = path;
    facts.format = format_of(path);
    FileBytes file(path);
    facts.size = file.size();
    std::error_code none;
    facts.changed = std::filesystem::last_write_time(path, none);
    Bytes bytes = file.read(0, kLookedAt);
    constexpr std::size_t kReach = 32; // No look goes further.
    for (std::size_t at = 0; at + kReach <= bytes.size(); ++at) {
        if (bytes[at] <= 1 &&
            bytes[at] + bytes[at + 1] == 1) { // 00 01 or 01 00: ImageWidth in either byte order.
            look_for_entries(bytes, at, facts);
        } else if (bytes[at] == 0xFF) {
            look_for_frame(bytes, at, facts);
        } else if (bytes[at] == 'C') {
            look_for_track(bytes, at, facts);
        }
    }
    return facts;
}

} // namespace plate_mend::host
