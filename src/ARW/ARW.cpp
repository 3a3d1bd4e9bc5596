#include "ARW/ARW.h"

#include "api/Exceptions.h"
#include "util/ByteScan.h"
#include "util/Reading.h"

#include <utility>

namespace plate_mend {

namespace {

constexpr ARW::Pattern kJpegOffset{0x02, 0x01};      // 513 JPEGInterchangeFormat
constexpr ARW::Pattern kJpegLength{0x02, 0x02};      // 514 JPEGInterchangeFormatLength
constexpr ARW::Pattern kSubIfds{0x01, 0x4A};         // 330 SubIFDs
constexpr ARW::Pattern kStripOffsets{0x01, 0x11};    // 273 StripOffsets
constexpr ARW::Pattern kRowsPerStrip{0x01, 0x16};    // 278 RowsPerStrip
constexpr ARW::Pattern kStripByteCounts{0x01, 0x17}; // 279 StripByteCounts

constexpr std::uint16_t kBigEndian = 0x4D4D;    // "MM"
constexpr std::uint16_t kLittleEndian = 0x4949; // "II"
constexpr std::uint16_t kVersion = 42;
constexpr std::uint16_t kSwappedVersion = 0x2A00; // 42 as a little-endian file stores it.

constexpr std::uint32_t kEntrySize = 12;
constexpr std::uint64_t kBlankedBytes = 30;

// Positions in ARW_IFD::entries, fixed by the order of the searches.
constexpr std::size_t kPreviewOffsetEntry = 0;
constexpr std::size_t kSubIfdsEntry = 2;

} // namespace

ARW::ARW(std::filesystem::path path)
    : map(std::make_shared<MMAP>(std::move(path))), mapped(map->size() != 0) {}

ARW::ARW(std::filesystem::path path, bool read_only)
    : map(std::make_shared<MMAP>(std::move(path), read_only)), mapped(map->size() != 0) {}

std::uint16_t ARW::native(std::uint16_t stored) const {
    return big_endian ? stored : swap_bytes(stored);
}

std::uint32_t ARW::native(std::uint32_t stored) const {
    return big_endian ? stored : swap_bytes(stored);
}

ARW::FilePattern ARW::in_file_order(Pattern pattern) const {
    return big_endian ? pattern : FilePattern{pattern[1], pattern[0]};
}

void ARW::require_inside(std::uint32_t offset) const {
    if (offset > map->size() - 1) {
        throw VisitingBeyondException();
    }
}

void ARW::parse_header() {
    ARW_IFH header;
    map->seek(0);
    header.byte_order = read_u16(*map);
    header.version = read_next_u16(*map);
    header.first_ifd_offset = read_next_u32(*map);
    if (header.byte_order != kBigEndian && header.byte_order != kLittleEndian) {
        throw IllegalException();
    }
    // Either spelling of 42 passes with either byte order: see docs/compatibility.md, All formats.
    if (header.version != kVersion && header.version != kSwappedVersion) {
        throw IllegalException();
    }
    if (header.first_ifd_offset == 0) {
        throw IllegalException();
    }
    ifh = std::make_shared<ARW_IFH>(header);
    big_endian = header.byte_order == kBigEndian;
}

std::uint32_t ARW::first_ifd_offset() const {
    return native(ifh->first_ifd_offset);
}

std::shared_ptr<ARW_IFD> ARW::read_ifd(std::uint32_t offset) {
    require_inside(offset);
    map->seek(offset);
    auto ifd = std::make_shared<ARW_IFD>();
    ifd->count = read_u16(*map);
    // The cursor is on the count's last byte, so the next read begins right after the entries. The sum wraps
    // at 32 bits; a count that leads past the end of the file makes that read throw.
    const std::uint32_t entries = native(ifd->count) * kEntrySize;
    map->seek(static_cast<std::uint32_t>(map->position() + entries));
    ifd->next = read_next_u32(*map);
    return ifd;
}

std::uint32_t ARW::read_ifd0(std::uint32_t offset) {
    ifd0 = read_ifd(offset);
    return native(ifd0->next);
}

std::uint32_t ARW::read_ifd1(std::uint32_t offset) {
    ifd1 = read_ifd(offset);
    return native(ifd1->next);
}

void ARW::read_ifd2(std::uint32_t offset) {
    ifd2 = read_ifd(offset);
}

std::uint32_t ARW::read_sub_ifd() {
    const std::uint32_t offset = native(ifd0->entries[kSubIfdsEntry]->value);
    sub_ifd = read_ifd(offset);
    return offset;
}

bool ARW::is_valid_type(std::uint16_t type) {
    return type >= 1 && type <= 12;
}

bool ARW::has_valid_type(std::uint32_t match) {
    const std::uint32_t type_offset = match + 2;
    require_inside(type_offset);
    map->seek(type_offset);
    return is_valid_type(native(read_u16(*map)));
}

std::uint32_t ARW::find_tag_in_range(Pattern pattern, std::uint32_t start, std::uint32_t end) {
    require_inside(end);
    const FilePattern bytes = in_file_order(pattern);
    // The length is a 32-bit difference: an end below the start wraps to an unbounded range (see
    // docs/compatibility.md, ARW and SR2).
    const std::uint64_t range_end = std::uint64_t{start} + static_cast<std::uint32_t>(end - start);
    std::uint64_t from = start;
    while (const auto match = find_in_file(*map, bytes, from, range_end)) {
        if (has_valid_type(*match)) {
            return *match;
        }
        from = std::uint64_t{*match} + 1;
    }
    throw NotFoundException();
}

std::uint32_t ARW::find_tag(Pattern pattern, std::uint32_t start) {
    if (map->size() < start) {
        throw OutRangeException();
    }
    const FilePattern bytes = in_file_order(pattern);
    std::uint64_t from = start;
    while (const auto match = find_in_file(*map, bytes, from, map->size())) {
        if (has_valid_type(*match)) {
            return *match;
        }
        from = std::uint64_t{*match} + 2; // Two bytes: see docs/compatibility.md, ARW and SR2.
    }
    throw NotFoundException();
}

std::uint32_t ARW::find_bytes(Pattern pattern, std::uint32_t start) const {
    if (map->size() < start) {
        throw OutRangeException();
    }
    const auto match = find_in_file(*map, in_file_order(pattern), start, map->size());
    if (!match) {
        throw NotFoundException();
    }
    return *match;
}

std::uint32_t ARW::find_bytes_in_range(Pattern pattern, std::uint32_t start, std::uint32_t end) const {
    if (map->size() < end) {
        throw OutRangeException();
    }
    const auto match = find_in_file(*map, in_file_order(pattern), start, end);
    if (!match) {
        throw NotFoundException();
    }
    return *match;
}

std::shared_ptr<ARW_DE> ARW::read_entry(std::uint32_t offset) {
    map->seek(offset);
    auto entry = std::make_shared<ARW_DE>();
    entry->tag = read_u16(*map);
    entry->type = read_next_u16(*map);
    entry->count = read_next_u32(*map);
    entry->value = read_next_u32(*map);
    return entry;
}

std::shared_ptr<ARW_DE> ARW::read_next_entry() {
    map->advance(1);
    return read_entry(static_cast<std::uint32_t>(map->position()));
}

void ARW::read_ifd0_tags(std::uint32_t start, std::uint32_t end) {
    require_inside(end);
    for (const Pattern& tag : {kJpegOffset, kJpegLength, kSubIfds}) {
        ifd0->entries.push_back(read_entry(find_tag_in_range(tag, start, end)));
    }
}

void ARW::read_ifd1_tags(std::uint32_t start, std::uint32_t end) {
    require_inside(end);
    for (const Pattern& tag : {kJpegOffset, kJpegLength}) {
        ifd1->entries.push_back(read_entry(find_tag_in_range(tag, start, end)));
    }
}

void ARW::read_sub_ifd_tags(std::uint32_t start) {
    require_inside(start);
    for (const Pattern& tag : {kStripOffsets, kRowsPerStrip}) {
        sub_ifd->entries.push_back(read_entry(find_tag(tag, start)));
    }
    const std::uint32_t byte_counts = find_tag(kStripByteCounts, start);
    sub_ifd->entries.push_back(read_entry(byte_counts));
    sub_ifd->entries.back()->position = byte_counts;
}

void ARW::read_ifd2_tags(std::uint32_t start) {
    require_inside(start);
    for (const Pattern& tag : {kJpegOffset, kJpegLength}) {
        ifd2->entries.push_back(read_entry(find_tag(tag, start)));
    }
}

void ARW::clear_previews() {
    for (const auto& ifd : {ifd0, ifd1, ifd2}) {
        map->seek(native(ifd->entries[kPreviewOffsetEntry]->value));
        write_zeros(*map, kBlankedBytes);
    }
}

bool ARW::is_strip_triple(std::uint32_t offset) {
    require_inside(offset);
    map->seek(offset);
    const std::uint16_t first = native(read_u16(*map));
    map->advance(10);
    const std::uint16_t second = native(read_next_u16(*map));
    map->advance(10);
    const std::uint16_t third = native(read_next_u16(*map));
    return first == 273 && second == 278 && third == 279;
}

void ARW::read_strip_triple(std::uint32_t offset) {
    require_inside(offset);
    auto ifd = std::make_shared<ARW_IFD>();
    ifd->entries.push_back(read_entry(offset));
    ifd->entries.push_back(read_next_entry());
    ifd->entries.push_back(read_next_entry());
    sub_ifd = ifd;
}

} // namespace plate_mend
