#include "NEF/NEF.h"

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

constexpr std::uint64_t kBlankedBytes = 30;

void require(bool condition) {
    if (!condition) {
        throw IllegalException();
    }
}

bool is_legal(const NEF_DE& entry) {
    return entry.tag != 0 && entry.type >= 1 && entry.type <= 12 && entry.count != 0;
}

} // namespace

NEF::NEF(std::filesystem::path path)
    : mmap(std::make_shared<MMAP>(std::move(path))), ifd(std::make_shared<NEF_IFD>()),
      valid(mmap->size() != 0) {}

std::uint16_t NEF::native(std::uint16_t stored) const {
    return big_endian ? stored : swap_bytes(stored);
}

std::uint32_t NEF::native(std::uint32_t stored) const {
    return big_endian ? stored : swap_bytes(stored);
}

void NEF::parse_header() {
    ifh = std::make_shared<NEF_IFH>();
    mmap->seek(0);
    const std::uint16_t byte_order = read_u16(*mmap);
    require(byte_order == kLittleEndian || byte_order == kBigEndian);
    ifh->byte_order = byte_order;
    big_endian = byte_order == kBigEndian;

    const std::uint16_t version = native(read_next_u16(*mmap));
    const std::uint32_t first_ifd_offset = native(read_next_u32(*mmap));
    require(version == kVersion || version == kSwappedVersion);
    require(first_ifd_offset != 0);
    ifh->version = version;
    ifh->first_ifd_offset = first_ifd_offset;
}

std::uint32_t NEF::find_tag(Pattern pattern, std::uint32_t start) const {
    if (!big_endian) {
        std::swap(pattern[0], pattern[1]);
    }
    const auto hit = find_in_file(*mmap, pattern, start, mmap->size());
    if (!hit) {
        throw NotFoundException();
    }
    return *hit;
}

NEF_DE NEF::read_fields(std::uint32_t offset) {
    mmap->seek(offset);
    NEF_DE fields;
    fields.tag = native(read_u16(*mmap));
    fields.type = native(read_next_u16(*mmap));
    fields.count = native(read_next_u32(*mmap));
    fields.value = native(read_next_u32(*mmap));
    return fields;
}

bool NEF::is_entry(std::uint32_t offset) {
    return is_legal(read_fields(offset));
}

NEF_DE NEF::read_entry(std::uint32_t offset) {
    const NEF_DE fields = read_fields(offset);
    require(is_legal(fields));
    return fields;
}

bool NEF::read_entry_is_zero(const std::shared_ptr<NEF_DE>& entry, std::uint32_t offset) {
    *entry = read_entry(offset);
    return entry->value == 0;
}

void NEF::blank_entry_data(const std::shared_ptr<NEF_DE>& entry, std::uint32_t offset) {
    *entry = read_entry(offset);
    ifd->entries.push_back(entry);
    mmap->seek(entry->value);
    write_zeros(*mmap, kBlankedBytes);
}

std::vector<std::uint32_t> NEF::read_sub_ifd_offsets(const std::shared_ptr<NEF_DE>& entry,
                                                     std::uint32_t offset) {
    *entry = read_entry(offset);
    ifd->entries.push_back(entry);
    if (entry->count == 1) {
        return {entry->value};
    }
    // One byte before the list, at 32 bits, since every read begins with a step. Room is not reserved for the
    // count: it may be anything, and the end of the file limits the numbers.
    mmap->seek(static_cast<std::uint32_t>(entry->value - 1));
    std::vector<std::uint32_t> offsets;
    for (std::uint32_t index = 0; index < entry->count; ++index) {
        offsets.push_back(native(read_next_u32(*mmap)));
    }
    return offsets;
}

void NEF::blank_strip(const std::shared_ptr<NEF_DE>& offsets_entry,
                      const std::shared_ptr<NEF_DE>& counts_entry, std::uint32_t offsets_offset,
                      std::uint32_t counts_offset) {
    *offsets_entry = read_entry(offsets_offset);
    ifd->entries.push_back(offsets_entry);
    *counts_entry = read_entry(counts_offset);
    ifd->entries.push_back(counts_entry);
    mmap->seek(offsets_entry->value);
    if (counts_entry->value != 0) {
        write_zeros(*mmap, counts_entry->value);
    }
}

std::uint32_t NEF::read_entry_value(const std::shared_ptr<NEF_DE>& entry, std::uint32_t offset) {
    *entry = read_entry(offset);
    ifd->entries.push_back(entry);
    return entry->value;
}

void NEF::append_to_file(std::span<const unsigned char> bytes, const std::filesystem::path& path) {
    std::ofstream output(path, std::ios::binary | std::ios::app);
    insert_bytes(output, bytes);
}

} // namespace plate_mend
