#include "ORF/ORF.h"

#include "api/Exceptions.h"
#include "api/RepairSteps.h"
#include "util/ByteScan.h"
#include "util/Reading.h"
#include "util/Slice.h"

#include <algorithm>
#include <fstream>

namespace plate_mend {

namespace {

constexpr std::uint16_t kBigEndian = 0x4D4D;    // "MM"
constexpr std::uint16_t kLittleEndian = 0x4949; // "II"
constexpr std::uint16_t kFlagRO = 0x524F;       // In "II" files.
constexpr std::uint16_t kFlagOR = 0x4F52;       // In "MM" files.

constexpr std::uint16_t kStripOffsets = 273;
constexpr std::uint16_t kRowsPerStrip = 278;
constexpr std::uint16_t kStripByteCounts = 279;

constexpr std::uint32_t kEntrySize = 12;
constexpr std::uint64_t kBlankedBytes = 30;

// Positions in ORF_IFD::entries, the same in the sample and in the damaged file.
constexpr std::size_t kStripOffsetsEntry = 0;
constexpr std::size_t kStripByteCountsEntry = 2;
constexpr std::uint64_t kValueInEntry = 8; // After tag, type and count.

ORF::Pattern pattern_of(std::uint16_t tag) {
    return {static_cast<std::uint8_t>(tag >> 8U), static_cast<std::uint8_t>(tag & 0xFFU)};
}

} // namespace

ORF::ORF(std::filesystem::path path)
    : mapped_file(std::make_shared<MMAP>(std::move(path))), is_mapped_(mapped_file->size() != 0) {}

std::uint16_t ORF::native(std::uint16_t stored) const {
    return big_endian_ != 0 ? stored : swap_bytes(stored);
}

std::uint32_t ORF::native(std::uint32_t stored) const {
    return big_endian_ != 0 ? stored : swap_bytes(stored);
}

ORF::Pattern ORF::in_file_order(const Pattern& pattern) const {
    return big_endian_ != 0 ? pattern : Pattern(pattern.rbegin(), pattern.rend());
}

void ORF::require_inside(std::uint32_t offset, const char* message) const {
    if (offset > mapped_file->size() - 1) {
        throw VisitingBeyondException(message);
    }
}

void ORF::read_ifh() {
    ORF_IFH header;
    mapped_file->seek(0);
    header.byte_order = read_u16(*mapped_file);
    header.flag = read_next_u16(*mapped_file);
    header.first_ifd_offset = read_next_u32(*mapped_file);
    if (header.byte_order != kBigEndian && header.byte_order != kLittleEndian) {
        throw IllegalException("byte order flag illegal");
    }
    // Either spelling passes with either byte order: see docs/compatibility.md, All formats.
    if (header.flag != kFlagRO && header.flag != kFlagOR) {
        throw IllegalException("orf flag illegal");
    }
    if (header.first_ifd_offset == 0) {
        throw IllegalException("first ifd offset illegal");
    }
    ifh = std::make_shared<ORF_IFH>(header);
    big_endian_ = header.byte_order == kBigEndian ? 1 : 0;
}

std::uint32_t ORF::first_ifd_offset() const {
    return native(ifh->first_ifd_offset);
}

std::pair<std::uint32_t, std::uint32_t> ORF::read_ifd0(std::uint32_t offset) {
    require_inside(offset, "ifd 0 offset out of range");
    mapped_file->seek(offset);
    auto ifd = std::make_shared<ORF_IFD>();
    ifd->count = read_u16(*mapped_file);
    // The cursor is on the count's last byte, so the next read begins right after the entries. The sum wraps
    // at 32 bits; a count that leads past the end of the file makes that read throw.
    const std::uint32_t entries = native(ifd->count) * kEntrySize;
    const auto entries_end = static_cast<std::uint32_t>(mapped_file->position() + entries);
    mapped_file->seek(entries_end);
    ifd->next = read_next_u32(*mapped_file);
    ifd0 = ifd;
    return {native(ifd->next), entries_end + 4};
}

std::uint32_t ORF::search_tag(const Pattern& pattern, std::uint32_t start) const {
    if (mapped_file->size() < start) {
        throw OutRangeException("search tag offset out of range");
    }
    const auto match = find_in_file(*mapped_file, pattern, start, mapped_file->size());
    if (!match) {
        throw NotFoundException("not found order tag");
    }
    return *match;
}

std::uint32_t ORF::search_order_tag(const Pattern& pattern, std::uint32_t start) const {
    return search_tag(in_file_order(pattern), start);
}

std::uint32_t ORF::search_order_tag_in_range(const Pattern& pattern, std::uint32_t start,
                                             std::uint32_t end) const {
    if (mapped_file->size() < end) {
        throw OutRangeException("search tag end offset out of range");
    }
    const auto match = find_in_file(*mapped_file, in_file_order(pattern), start, end);
    if (!match) {
        throw NotFoundException("not found order tag");
    }
    return *match;
}

std::shared_ptr<ORF_DE> ORF::read_sample_entry(std::uint32_t offset) {
    mapped_file->seek(offset);
    auto entry = std::make_shared<ORF_DE>();
    entry->tag = read_u16(*mapped_file);
    entry->type = read_next_u16(*mapped_file);
    mapped_file->advance(1); // Skips the first two bytes of the count: see docs/compatibility.md, ORF.
    mapped_file->advance(1);
    entry->count = read_next_u16(*mapped_file);
    entry->value = read_next_u32(*mapped_file);
    return entry;
}

void ORF::read_sample_tags(std::uint32_t offset, std::uint32_t ifd0_end) {
    require_inside(ifd0_end, "ifd 0 end offset out of range");
    for (const std::uint16_t tag : {kStripOffsets, kRowsPerStrip, kStripByteCounts}) {
        const std::uint32_t hit = search_order_tag_in_range(pattern_of(tag), offset, ifd0_end);
        auto entry = read_sample_entry(hit);
        entry->position = tag == kStripByteCounts ? hit : 0;
        ifd0->entries.push_back(entry);
    }
}

/// The first start of a JPEG from the offset on.
std::optional<std::uint32_t> ORF::jpeg_start(std::uint32_t from) const {
    const Pattern start_of_image{0xFF, 0xD8, 0xFF, 0xDB}; // SOI and the marker of DQT.
    return find_in_file(*mapped_file, start_of_image, from, mapped_file->size());
}

void ORF::blank_jpegs() {
    mapped_file->seek(0);
    auto start = jpeg_start(0);
    while (start) {
        // Two may begin less than 30 bytes apart. So the next one is found before this one is blanked, and
        // none is blanked beyond the start of the next, which does the rest.
        const auto next = jpeg_start(*start + 2);
        mapped_file->seek(*start);
        write_zeros(*mapped_file,
                    next ? std::min<std::uint64_t>(kBlankedBytes, *next - *start) : kBlankedBytes);
        start = next;
    }
}

bool ORF::is_raw_tag(std::uint32_t offset) {
    require_inside(offset, "raw tag offset is out of range");
    mapped_file->seek(offset);
    const std::uint16_t first = native(read_u16(*mapped_file));
    mapped_file->advance(34);
    const std::uint16_t second = native(read_next_u16(*mapped_file));
    mapped_file->advance(10);
    const std::uint16_t third = native(read_next_u16(*mapped_file));
    return first == kStripOffsets && second == kRowsPerStrip && third == kStripByteCounts;
}

std::shared_ptr<ORF_DE> ORF::read_damaged_entry(std::uint32_t offset) {
    mapped_file->seek(offset);
    auto entry = std::make_shared<ORF_DE>();
    entry->tag = read_u16(*mapped_file);
    entry->type = read_next_u16(*mapped_file);
    entry->count = read_next_u32(*mapped_file);
    entry->value = read_next_u32(*mapped_file);
    return entry;
}

std::shared_ptr<ORF_DE> ORF::read_next_damaged_entry() {
    mapped_file->advance(1);
    return read_damaged_entry(static_cast<std::uint32_t>(mapped_file->position()));
}

void ORF::read_damaged_tags(std::uint32_t offset) {
    require_inside(offset, "raw tag offset is out of range");
    auto ifd = std::make_shared<ORF_IFD>();
    ifd->entries.push_back(read_damaged_entry(offset));
    mapped_file->advance(24); // Over the two entries in between.
    ifd->entries.push_back(read_next_damaged_entry());
    ifd->entries.push_back(read_next_damaged_entry());
    ifd0 = ifd;
}

// By value: the copy may fail inside the caller's try block. See docs/compatibility.md, All formats.
void ORF::merge_data(const std::shared_ptr<ORF>& damaged, const std::shared_ptr<ORF>& sample,
                     std::filesystem::path output) { // NOLINT(performance-unnecessary-value-param)
    clear_path(output);
    std::ofstream stream(output, std::ios::binary | std::ios::app);
    if (!stream.is_open()) {
        throw VisitingBeyondException();
    }
    const ORF_IFD& sample_strip = *sample->ifd0;
    const ORF_IFD& damaged_strip = *damaged->ifd0;

    // Copied as stored, without conversion: both files have the same byte order.
    const std::uint64_t byte_count = sample_strip.entries[kStripByteCountsEntry]->position;
    sample->mapped_file->seek(byte_count + kValueInEntry);
    write_u32(*sample->mapped_file, damaged_strip.entries[kStripByteCountsEntry]->value);

    const std::uint32_t sample_image = sample->native(sample_strip.entries[kStripOffsetsEntry]->value);
    insert_bytes(stream, slice(*sample->mapped_file, 0, sample_image));
    const std::uint32_t damaged_image = damaged->native(damaged_strip.entries[kStripOffsetsEntry]->value);
    insert_bytes(stream, slice_to_end(*damaged->mapped_file, damaged_image));

    stream.close();
    sample->mapped_file->close(); // Otherwise its file could not be removed.
}

} // namespace plate_mend
