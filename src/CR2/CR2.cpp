#include "CR2/CR2.h"

#include "api/Exceptions.h"
#include "util/ByteScan.h"
#include "util/Reading.h"
#include "util/Slice.h"

#include <fstream>
#include <utility>

namespace plate_mend {

namespace {

constexpr std::uint16_t kBigEndian = 0x4D4D;    // "MM"
constexpr std::uint16_t kLittleEndian = 0x4949; // "II"
constexpr std::uint16_t kVersion = 42;
constexpr std::uint16_t kSwappedVersion = 0x2A00;
constexpr std::uint16_t kMarker = 0x4352; // "CR"
constexpr std::uint8_t kMajorVersion = 2;
constexpr std::uint8_t kMinorVersion = 0;

constexpr std::uint16_t kStripByteCounts = 279;
constexpr std::uint16_t kLong = 4;

constexpr std::uint64_t kEntrySize = 12;
constexpr std::uint64_t kBlankedBytes = 30;

void require(bool condition) {
    if (!condition) {
        throw IllegalException();
    }
}

void require_legal(const CR2_DE& entry) {
    require(entry.tag != 0);
    require(entry.type >= 1 && entry.type <= 12);
    require(entry.count != 0);
}

} // namespace

CR2::CR2(std::filesystem::path path)
    : mmap(std::make_shared<MMAP>(std::move(path))), ifd(std::make_shared<CR2_IFD>()),
      valid(mmap->size() != 0) {}

std::uint16_t CR2::native(std::uint16_t stored) const {
    return big_endian ? stored : swap_bytes(stored);
}

std::uint32_t CR2::native(std::uint32_t stored) const {
    return big_endian ? stored : swap_bytes(stored);
}

void CR2::parse_header() {
    ifh = std::make_shared<CR2_IFH>();
    mmap->seek(0);
    const std::uint16_t byte_order = read_u16(*mmap);
    require(byte_order == kLittleEndian || byte_order == kBigEndian);
    ifh->byte_order = byte_order;
    big_endian = byte_order == kBigEndian;

    const std::uint16_t version = native(read_next_u16(*mmap));
    const std::uint32_t first_ifd_offset = native(read_next_u32(*mmap));
    const std::uint16_t marker = read_next_u16(*mmap); // Two letters, never swapped.
    const std::uint16_t versions = read_next_u16(*mmap);
    const auto major_version = static_cast<std::uint8_t>(versions >> 8U);
    const auto minor_version = static_cast<std::uint8_t>(versions & 0xFFU);
    const std::uint32_t raw_ifd_offset = native(read_next_u32(*mmap));

    require(version == kVersion || version == kSwappedVersion);
    ifh->version = version;
    require(first_ifd_offset != 0);
    ifh->first_ifd_offset = first_ifd_offset;
    require(marker == kMarker);
    ifh->cr_marker = marker;
    require(major_version == kMajorVersion);
    ifh->major_version = major_version;
    require(minor_version == kMinorVersion);
    ifh->minor_version = minor_version;
    require(raw_ifd_offset != 0);
    ifh->raw_ifd_offset = raw_ifd_offset;
}

std::uint32_t CR2::find_tag(Pattern pattern, std::uint32_t start) const {
    if (!big_endian) {
        std::swap(pattern[0], pattern[1]);
    }
    const auto hit = find_in_file(*mmap, pattern, start, mmap->size());
    if (!hit) {
        throw NotFoundException();
    }
    return *hit;
}

CR2_DE CR2::read_fields(std::uint64_t offset) {
    mmap->seek(offset);
    CR2_DE fields;
    fields.tag = native(read_u16(*mmap));
    fields.type = native(read_next_u16(*mmap));
    fields.count = native(read_next_u32(*mmap));
    fields.value = native(read_next_u32(*mmap));
    return fields;
}

CR2_DE CR2::read_entry(std::uint32_t offset) {
    const CR2_DE fields = read_fields(offset);
    require_legal(fields);
    return fields;
}

void CR2::require_room_to_blank(std::uint32_t value) const {
    // Wraps at 64 bits for a file of fewer than 30 bytes, so that every value passes: see
    // docs/compatibility.md, CR2.
    if (mmap->size() - kBlankedBytes < value) {
        throw VisitingBeyondException();
    }
}

void CR2::blank_entry_data(const std::shared_ptr<CR2_DE>& entry, std::uint32_t offset) {
    *entry = read_entry(offset);
    require_room_to_blank(entry->value);
    ifd->entries.push_back(entry);
    mmap->seek(entry->value);
    write_zeros(*mmap, kBlankedBytes);
}

std::uint32_t CR2::read_next_ifd_link(const std::shared_ptr<CR2_DE>& entry, std::uint32_t offset) {
    *entry = read_entry(offset);
    ifd->entries.push_back(entry);
    return native(read_next_u32(*mmap)); // The cursor is on the entry's last byte.
}

void CR2::blank_strip(const std::shared_ptr<CR2_DE>& offsets_entry,
                      const std::shared_ptr<CR2_DE>& counts_entry, std::uint32_t offsets_offset,
                      std::uint32_t counts_offset) {
    // Each guard is between the reading of an entry and its check: see docs/compatibility.md, CR2.
    const CR2_DE offsets = read_fields(offsets_offset);
    if (mmap->size() < counts_offset) {
        throw VisitingBeyondException();
    }
    require_legal(offsets);
    *offsets_entry = offsets;
    ifd->entries.push_back(offsets_entry);

    const CR2_DE counts = read_fields(counts_offset);
    require_room_to_blank(offsets.value);
    require_legal(counts);
    *counts_entry = counts;
    ifd->entries.push_back(counts_entry);

    mmap->seek(offsets.value);
    write_zeros(*mmap, counts.value);
}

std::uint32_t CR2::read_entry_value(const std::shared_ptr<CR2_DE>& entry, std::uint32_t offset) {
    *entry = read_entry(offset);
    ifd->entries.push_back(entry);
    return entry->value;
}

bool CR2::is_raw_strip_entry(std::uint32_t offset) {
    const CR2_DE next = read_fields(offset + kEntrySize);
    return next.tag == kStripByteCounts && next.type == kLong && next.count != 0 && next.value != 0;
}

void CR2::append_to_file(std::span<const unsigned char> bytes, const std::filesystem::path& path) {
    std::ofstream output(path, std::ios::binary | std::ios::app);
    insert_bytes(output, bytes);
}

} // namespace plate_mend
