#include "DNG/DNG.h"

#include "api/Exceptions.h"
#include "util/Reading.h"
#include "util/Slice.h"

#include <fstream>
#include <utility>

namespace plate_mend {

namespace {

constexpr DNG::Pattern kTileOffsets{0x01, 0x44};    // 324
constexpr DNG::Pattern kTileByteCounts{0x01, 0x45}; // 325

constexpr std::uint16_t kLittleEndian = 0x4949; // "II"
constexpr std::uint16_t kBigEndian = 0x4D4D;    // "MM"
constexpr std::uint16_t kVersion = 42;
constexpr std::uint16_t kSwappedVersion = 0x2A00; // 42 in the other byte order.

constexpr std::uint16_t kFirstType = 1; // BYTE
constexpr std::uint16_t kLastType = 12; // DOUBLE

constexpr std::uint64_t kBlankedBytes = 30;
constexpr std::uint64_t kNumberSize = 4;

bool is_legal(const DE& entry) {
    return entry.tag() != 0 && entry.type() >= kFirstType && entry.type() <= kLastType && entry.count() != 0;
}

} // namespace

DNG::DNG(std::filesystem::path path)
    : mmap_(std::make_shared<MMAP>(std::move(path))), ifd_(std::make_shared<IFD>()),
      valid_(mmap_->size() != 0) {}

std::uint16_t DNG::native(std::uint16_t stored) const {
    return big_endian_ ? stored : swap_bytes(stored);
}

std::uint32_t DNG::native(std::uint32_t stored) const {
    return big_endian_ ? stored : swap_bytes(stored);
}

std::uint32_t DNG::as_stored(std::uint32_t number) const {
    return native(number); // A swap is its own inverse.
}

void DNG::parse_header() {
    ifh_ = std::make_shared<IFH>();
    mmap_->seek(0);
    const std::uint16_t byte_order = read_u16(*mmap_);
    if (byte_order != kLittleEndian && byte_order != kBigEndian) {
        throw IllegalException();
    }
    ifh_->set_byte_order(byte_order);
    big_endian_ = byte_order == kBigEndian;

    const std::uint16_t version = native(read_next_u16(*mmap_));
    const std::uint32_t first_ifd_offset = native(read_next_u32(*mmap_));
    if ((version != kVersion && version != kSwappedVersion) || first_ifd_offset == 0) {
        throw IllegalException();
    }
    ifh_->set_version(version);
    ifh_->set_first_ifd_offset(first_ifd_offset);
}

std::uint32_t DNG::find_tag(Pattern pattern, std::uint32_t start) const {
    if (!big_endian_) {
        std::swap(pattern[0], pattern[1]);
    }
    const auto match = searches_.try_emplace(pattern, pattern).first->second.find(*mmap_, start);
    if (!match) {
        throw NotFoundException();
    }
    return *match;
}

DE DNG::read_fields(std::uint32_t offset) {
    mmap_->seek(offset);
    DE fields;
    fields.set_tag(native(read_u16(*mmap_)));
    fields.set_type(native(read_next_u16(*mmap_)));
    fields.set_count(native(read_next_u32(*mmap_)));
    fields.set_value(native(read_next_u32(*mmap_)));
    return fields;
}

bool DNG::is_entry(std::uint32_t offset) {
    return is_legal(read_fields(offset));
}

void DNG::read_entry(const std::shared_ptr<DE>& de, std::uint32_t offset) {
    const DE fields = read_fields(offset);
    if (!is_legal(fields)) {
        throw IllegalException();
    }
    *de = fields;
    ifd_->append_entry(de);
}

bool DNG::read_entry_is_zero(const std::shared_ptr<DE>& de, std::uint32_t offset) {
    read_entry(de, offset);
    return de->value() == 0;
}

void DNG::blank_entry_data(const std::shared_ptr<DE>& de, std::uint32_t offset) {
    read_entry(de, offset);
    forget_bytes(de->value(), de->value() + kBlankedBytes);
    mmap_->seek(de->value());
    write_zeros(*mmap_, kBlankedBytes);
}

/// To be called before the bytes [first, last) are written: what is known of them no longer holds.
void DNG::forget_bytes(std::uint64_t first, std::uint64_t last) {
    tile_offsets_.keep(*mmap_, first, last);
    tile_byte_counts_.keep(*mmap_, first, last);
    for (auto& [pattern, search] : searches_) {
        search.forget(first, last);
    }
}

std::vector<std::uint32_t> DNG::read_sub_ifd_offsets(const std::shared_ptr<DE>& de, std::uint32_t offset) {
    read_entry(de, offset);
    if (de->count() == 1) {
        return {de->value()};
    }
    // Each number is read after an advance(1). Before value 0 the cursor wraps at 32 bits, and that advance
    // throws.
    mmap_->seek(static_cast<std::uint32_t>(de->value() - 1));
    std::vector<std::uint32_t> offsets; // Not reserved: the count is not to be trusted.
    for (std::uint32_t index = 0; index < de->count(); ++index) {
        offsets.push_back(native(read_next_u32(*mmap_)));
    }
    return offsets;
}

TileList DNG::find_list(Pattern pattern, std::uint32_t start) {
    const auto de = std::make_shared<DE>();
    read_entry(de, find_tag(pattern, start));
    // One byte more: see docs/compatibility.md, DNG.
    (void)slice(*mmap_, de->value(), std::uint64_t{de->count()} * kNumberSize + 1);
    return {de->value(), de->count()};
}

std::vector<ValueSlot> DNG::read_list(const TileList& list) const {
    std::vector<ValueSlot> slots = list.read(*mmap_);
    for (ValueSlot& slot : slots) {
        slot.value = native(slot.value);
    }
    return slots;
}

void DNG::read_tile_offsets(std::uint32_t start) {
    tile_offsets_ = find_list(kTileOffsets, start);
}

void DNG::read_tile_byte_counts(std::uint32_t start) {
    tile_byte_counts_ = find_list(kTileByteCounts, start);
}

void DNG::append_to_file(std::span<const unsigned char> bytes, const std::filesystem::path& path) {
    std::ofstream file(path, std::ios::binary | std::ios::app);
    insert_bytes(file, bytes);
}

} // namespace plate_mend
