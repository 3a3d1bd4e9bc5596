#include "repair/FileFacts.h"

#include "files/FileBytes.h"
#include "files/Kind.h"

#include <byte_reader/ByteReader.h>

#include <vector>

namespace plate_mend::host {

namespace {

using byte_reader::ByteReader;

constexpr std::size_t kMostRead = std::size_t{8} << 20U; ///< Of a file, from its beginning.
constexpr std::uint32_t kSmallest = 16;                  ///< Side of a picture, in pixels.
constexpr std::uint32_t kLargest = 65535;

bool is_likely_size(std::uint32_t width, std::uint32_t height) {
    return width >= kSmallest && width <= kLargest && height >= kSmallest && height <= kLargest;
}

/// The value of a directory entry with this tag: type SHORT or LONG, count 1. 0 for anything else.
///
///   | 0 tag (2) | 2 type (2) | 4 count (4) | 8 value (4) |
std::uint32_t entry_value(const ByteReader& reader, std::size_t at, std::uint16_t tag) {
    constexpr std::uint16_t kShort = 3;
    constexpr std::uint16_t kLong = 4;
    const std::uint16_t type = reader.u16(at + 2).value_or(0);
    if (reader.u16(at) != tag || (type != kShort && type != kLong) || reader.u32(at + 4) != 1U) {
        return 0;
    }
    return type == kShort ? reader.u16(at + 8).value_or(0) : reader.u32(at + 8).value_or(0);
}

/// In every directory, ImageLength comes right after ImageWidth.
void add_entries(const ByteReader& reader, std::size_t at, FileFacts& facts) {
    constexpr std::uint16_t kImageWidth = 256;
    constexpr std::uint16_t kImageLength = 257;
    const std::uint32_t width = entry_value(reader, at, kImageWidth);
    const std::uint32_t height = entry_value(reader, at + 12, kImageLength);
    if (is_likely_size(width, height)) {
        facts.sizes.emplace(width, height);
        ++(reader.order() == std::endian::little ? facts.little_endian : facts.big_endian);
    }
}

/// | FF Cn | length (2) | precision (1) | height (2) | width (2) | components (1) | 3 per component |
void add_frame(const ByteReader& reader, std::size_t at, FileFacts& facts) {
    const unsigned kind = reader.u8(at + 1).value_or(0);
    const unsigned precision = reader.u8(at + 4).value_or(0);
    const unsigned components = reader.u8(at + 9).value_or(0);
    if (kind < 0xC0 || kind > 0xC3 || components < 1 || components > 4 ||
        reader.u16(at + 2) != 8 + 3 * components || precision < 8 || precision > 16) {
        return;
    }
    const std::uint32_t height = reader.u16(at + 5).value_or(0);
    const std::uint32_t width = reader.u16(at + 7).value_or(0);
    if (is_likely_size(width, height)) {
        facts.sizes.emplace(width, height);
    }
}

/// A sample entry: | size (4) | "CRAW" | 24 bytes | width (2) | height (2) |
void add_track(const ByteReader& reader, std::size_t at, FileFacts& facts) {
    const std::uint32_t width = reader.u16(at + 28).value_or(0);
    const std::uint32_t height = reader.u16(at + 30).value_or(0);
    if (reader.has(at, "CRAW") && is_likely_size(width, height)) {
        facts.sizes.emplace(width, height);
    }
}

} // namespace

FileFacts facts_of(const std::filesystem::path& path) {
    FileFacts facts;
    facts.path = path;
    facts.kind = kind_of(path);
    FileBytes file(path);
    facts.size = file.size();
    std::error_code none;
    facts.changed = std::filesystem::last_write_time(path, none);
    const std::vector<unsigned char> bytes = file.read(0, kMostRead);
    const ByteReader little(bytes, std::endian::little);
    const ByteReader big(bytes, std::endian::big);
    constexpr std::size_t kReach = 32; // Nothing is read further from where it begins.
    for (std::size_t at = 0; at + kReach <= bytes.size(); ++at) {
        if (bytes[at] <= 1 && bytes[at] + bytes[at + 1] == 1) { // 00 01 or 01 00: ImageWidth in either order.
            add_entries(bytes[at] == 0 ? little : big, at, facts);
        } else if (bytes[at] == 0xFF) {
            add_frame(big, at, facts);
        } else if (bytes[at] == 'C') {
            add_track(big, at, facts);
        }
    }
    return facts;
}

} // namespace plate_mend::host
