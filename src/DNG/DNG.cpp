#include "DNG/DNG.h"

#include "api/Exceptions.h"
#include "util/ByteScan.h"
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
constexpr std::uint16_t kSwappedVersion = 0x2A00; // 42 with its bytes in the other order.

constexpr std::uint16_t kFirstType = 1; // BYTE
constexpr std::uint16_t kLastType = 12; // DOUBLE

constexpr std::uint64_t kBlankedBytes = 30;

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
    const auto match = find_in_file(*mmap_, pattern, start, mmap_->size());
    if (!match) {
        throw NotFoundException();
    }
    return *match;
}

void DNG::read_entry(const std::shared_ptr<DE>& de, std::uint32_t offset) {
    mmap_->seek(offset);
    const std::uint16_t tag = native(read_u16(*mmap_));
    const std::uint16_t type = native(read_next_u16(*mmap_));
    const std::uint32_t count = native(read_next_u32(*mmap_));
    const std::uint32_t value = native(read_next_u32(*mmap_));
    if (tag == 0 || type < kFirstType || type > kLastType || count == 0) {
        throw IllegalException();
    }
    de->set_tag(tag);
    de->set_type(type);
    de->set_count(count);
    de->set_value(value);
    ifd_->append_entry(de);
}

bool DNG::read_entry_is_zero(const std::shared_ptr<DE>& de, std::uint32_t offset) {
    read_entry(de, offset);
    return de->value() == 0;
}

void DNG::blank_entry_data(const std::shared_ptr<DE>& de, std::uint32_t offset) {
    read_entry(de, offset);
    mmap_->seek(de->value());
    write_zeros(*mmap_, kBlankedBytes);
}

std::vector<std::uint32_t> DNG::read_sub_ifd_offsets(const std::shared_ptr<DE>& de, std::uint32_t offset) {
    read_entry(de, offset);
    if (de->count() == 1) {
        return {de->value()};
    }
    // Each number begins behind an advance(1). In front of value 0 the cursor wraps in 32 bits, and that
    // advance fails.
    mmap_->seek(static_cast<std::uint32_t>(de->value() - 1));
    std::vector<std::uint32_t> offsets; // It grows as the file yields: the count is not to be trusted.
    for (std::uint32_t index = 0; index < de->count(); ++index) {
        offsets.push_back(native(read_next_u32(*mmap_)));
    }
    return offsets;
}

std::vector<ValueSlot> DNG::read_list(Pattern pattern, std::uint32_t start) {
    const auto de = std::make_shared<DE>();
    read_entry(de, find_tag(pattern, start));
    mmap_->seek(de->value());
    std::vector<ValueSlot> slots; // It grows as the file yields: the count is not to be trusted.
    for (std::uint32_t index = 0; index < de->count(); ++index) {
        const std::uint32_t value = native(read_u32(*mmap_));
        slots.push_back({mmap_->position() - 3, value});
        mmap_->advance(1); // Behind the last number too: a list that ends the file is out of range.
    }
    return slots;
}

void DNG::read_tile_offsets(std::uint32_t start) {
    tile_offsets_ = read_list(kTileOffsets, start);
}

void DNG::read_tile_byte_counts(std::uint32_t start) {
    tile_byte_counts_ = read_list(kTileByteCounts, start);
}

void DNG::append_to_file(std::span<const unsigned char> bytes, const std::filesystem::path& path) {
    std::ofstream file(path, std::ios::binary | std::ios::app);
    insert_bytes(file, bytes);
}

} // namespace plate_mend
