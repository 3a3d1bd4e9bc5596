#include "RAF/RAF.h"

#include "api/Exceptions.h"
#include "util/ByteScan.h"
#include "util/Reading.h"

#include <algorithm>
#include <utility>

namespace plate_mend {

namespace {

constexpr std::uint16_t kBigEndian = 0x4D4D;        // "MM"
constexpr std::uint16_t kLittleEndian = 0x4949;     // "II"
constexpr std::uint16_t kLittleEndianFlag = 0x2A00; // 42 as a little-endian file stores it.
constexpr std::uint16_t kBigEndianFlag = 0x002A;

constexpr std::uint32_t kHeaderSize = 8;
constexpr std::uint32_t kCountSize = 2;
constexpr std::uint32_t kEntrySize = 12;

} // namespace

RAF::RAF(std::filesystem::path path)
    : mapped_file(std::make_shared<MMAP>(std::move(path))), is_mapped_(mapped_file->size() != 0) {}

std::uint16_t RAF::native(std::uint16_t stored) const {
    return big_endian_ != 0 ? stored : swap_bytes(stored);
}

std::uint32_t RAF::native(std::uint32_t stored) const {
    return big_endian_ != 0 ? stored : swap_bytes(stored);
}

RAF::Pattern RAF::in_file_order(Pattern pattern) const {
    if (big_endian_ == 0) {
        std::reverse(pattern.begin(), pattern.end());
    }
    return pattern;
}

void RAF::require_inside(std::uint32_t offset, const char* message) const {
    if (offset > mapped_file->size() - 1) {
        throw VisitingBeyondException(message);
    }
}

std::uint32_t RAF::search_tag(const Pattern& pattern, std::uint32_t start) const {
    if (mapped_file->size() < start) {
        throw OutRangeException("search tag offset out of range");
    }
    const auto match = find_in_file(*mapped_file, pattern, start, mapped_file->size());
    if (!match) {
        throw NotFoundException("not found order tag");
    }
    return *match;
}

std::uint32_t RAF::search_tag_in_range(const Pattern& pattern, std::uint32_t start, std::uint32_t end) const {
    if (mapped_file->size() < end) {
        throw OutRangeException("search tag end offset out of range");
    }
    const auto match = find_in_file(*mapped_file, pattern, start, end);
    if (!match) {
        throw NotFoundException("not found order tag");
    }
    return *match;
}

std::uint32_t RAF::search_order_tag(const Pattern& pattern, std::uint32_t start) const {
    return search_tag(in_file_order(pattern), start);
}

std::uint32_t RAF::search_order_tag_in_range(const Pattern& pattern, std::uint32_t start,
                                             std::uint32_t end) const {
    return search_tag_in_range(in_file_order(pattern), start, end);
}

// By value: see docs/compatibility.md, All formats.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
void RAF::read_ifh(std::vector<std::uint32_t> offsets) {
    require_inside(offsets[0], "first ifh offset out of range");
    first_ifh = read_header(offsets[0]);
    big_endian_ = first_ifh.byte_order == kBigEndian ? 1 : 0;
    require_inside(offsets[1], "second ifh offset out of range");
    second_ifh = read_header(offsets[1]);
}

RAF_IFH RAF::read_header(std::uint32_t offset) const {
    RAF_IFH header;
    header.position = offset;
    mapped_file->seek(offset);
    header.byte_order = read_u16(*mapped_file);
    header.flag = read_next_u16(*mapped_file);
    header.first_ifd_offset = read_next_u32(*mapped_file);
    // "MM" is refused, although all later code handles it: see docs/compatibility.md, RAF.
    if (header.byte_order != kLittleEndian) {
        throw IllegalException("byte order flag illegal");
    }
    // Either spelling of 42 passes with either byte order: see docs/compatibility.md, All formats.
    if (header.flag != kLittleEndianFlag && header.flag != kBigEndianFlag) {
        throw IllegalException("raf flag illegal");
    }
    if (header.first_ifd_offset == 0) {
        throw IllegalException("first ifd offset illegal");
    }
    return header;
}

std::uint32_t RAF::ifd1_offset() const {
    const std::uint32_t ifd0 = first_ifh_offset() + kHeaderSize;
    require_inside(ifd0, "ifd 0 offset out of range");
    mapped_file->seek(ifd0);
    const std::uint32_t count = native(read_u16(*mapped_file));
    const std::uint32_t next_link = ifd0 + kCountSize + kEntrySize * count;
    require_inside(next_link, "ifd 0 to 1 offset out of range");
    mapped_file->seek(next_link);
    return native(read_u32(*mapped_file)) + first_ifh_offset();
}

std::shared_ptr<RAF_DE> RAF::read_raw_de(std::uint32_t offset) const {
    mapped_file->seek(offset);
    auto entry = std::make_shared<RAF_DE>();
    entry->tag = read_u16(*mapped_file);
    entry->type = read_next_u16(*mapped_file);
    entry->count = read_next_u32(*mapped_file);
    entry->value = native(read_next_u32(*mapped_file));
    return entry;
}

} // namespace plate_mend
