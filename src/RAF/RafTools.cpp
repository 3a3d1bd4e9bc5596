#include "RAF/RAF.h"

#include "api/Exceptions.h"
#include "api/RepairSteps.h"
#include "util/Log.h"
#include "util/Reading.h"
#include "util/Slice.h"

#include <algorithm>
#include <fstream>
#include <span>

// The working operations of RAF: four for the clone of the sample, two for the damaged file, and the merge.
// Every offset is checked before it is read at; for the match of a search that check cannot fail.

namespace plate_mend {

namespace {

// A tag followed by the type LONG, high bytes first. In a little-endian file each of the two numbers is
// swapped by itself: 01 02 04 00.
const RAF::Pattern kThumbOffset{0x02, 0x01, 0x00, 0x04};
const RAF::Pattern kThumbOffsetLittle{0x01, 0x02, 0x04, 0x00};
const RAF::Pattern kThumbSize{0x02, 0x02, 0x00, 0x04};
const RAF::Pattern kThumbSizeLittle{0x02, 0x02, 0x04, 0x00};
const RAF::Pattern kStripOffsets{0xF0, 0x07, 0x00, 0x04};
const RAF::Pattern kStripOffsetsLittle{0x07, 0xF0, 0x04, 0x00};
const RAF::Pattern kStripByteCounts{0xF0, 0x08, 0x00, 0x04};
const RAF::Pattern kStripByteCountsLittle{0x08, 0xF0, 0x04, 0x00};

// The tag alone, high byte first.
const RAF::Pattern kStripOffsetsTag{0xF0, 0x07};
const RAF::Pattern kStripByteCountsTag{0xF0, 0x08};

const RAF::Pattern kXpacketEnd{'x', 'p', 'a', 'c', 'k', 'e', 't', ' ', 'e', 'n', 'd'};
const RAF::Pattern kDht{0xFF, 0xC4}; // JPEG: Define Huffman Table
const RAF::Pattern kZeroAndDht{0x00, 0xFF, 0xC4};
const RAF::Pattern kDqt{0xFF, 0xDB}; // JPEG: Define Quantization Table

constexpr std::uint32_t kMarkerSize = 2;
constexpr std::uint32_t kHeaderSize = 8;
constexpr std::uint32_t kOwnerReach = 136; // A header owns the entries up to this distance after it.
constexpr std::uint32_t kValueInEntry = 8; // After tag, type and count.

/// The damaged file's raw data. Where the file is truncated inside them: what is there.
std::span<const unsigned char> raw_data(const MMAP& map, std::uint32_t offset, std::uint32_t length) {
    if (length == 0) {
        return {};
    }
    if (offset >= map.size()) {
        throw OutRangeException();
    }
    return slice(map, offset, std::min<std::uint64_t>(length, map.size() - offset));
}

} // namespace

void RAF::read_thumb_tags(std::uint32_t ifd1) {
    thumb_ifd = std::make_shared<RAF_IFD>();
    require_inside(ifd1, "ifd1 offset out of range");

    const std::uint32_t offset_entry = search_tag(big_endian_ != 0 ? kThumbOffset : kThumbOffsetLittle, ifd1);
    require_inside(offset_entry, "thumb offset de offset out of range");
    const auto thumb_offset = read_raw_de(offset_entry);
    thumb_offset->value += first_ifh_offset();
    thumb_ifd->entries.emplace("thumb_offset", thumb_offset);

    const std::uint32_t size_entry = search_tag(big_endian_ != 0 ? kThumbSize : kThumbSizeLittle, ifd1);
    require_inside(size_entry, "thumb size de offset out of range");
    thumb_ifd->entries.emplace("thumb_size", read_raw_de(size_entry));
}

void RAF::read_sample_strip_tags() {
    strip_ifd = std::make_shared<RAF_IFD>();

    const std::uint32_t offset_entry = search_order_tag(kStripOffsetsTag, second_ifh_offset());
    require_inside(offset_entry, "StripOffsets offset out of range");
    const auto strip_offsets = read_raw_de(offset_entry);
    strip_offsets->value += second_ifh_offset();
    strip_ifd->entries.emplace("StripOffsets", strip_offsets);

    const std::uint32_t length_entry = search_order_tag(kStripByteCountsTag, second_ifh_offset());
    require_inside(length_entry, "StripByteCounts offset out of range");
    const auto strip_byte_counts = read_raw_de(length_entry);
    strip_byte_counts->position = length_entry;
    strip_ifd->entries.emplace("StripByteCounts", strip_byte_counts);
}

void RAF::clear_thumb() {
    mapped_file->seek(thumb_ifd->entries["thumb_offset"]->value);
    write_zeros(*mapped_file, thumb_ifd->entries["thumb_size"]->value);
}

void RAF::clear_to_next_dqt(std::uint32_t start) {
    require_inside(start, "huffman_table offset out of range");
    const std::uint32_t end = search_tag(kDqt, start);
    mapped_file->seek(start);
    write_zeros(*mapped_file, end - start + kMarkerSize);
}

void RAF::deal_high_jpg_data() {
    try {
        const std::uint32_t xpacket = search_tag(kXpacketEnd, 0);
        require_inside(xpacket, "xpakcet offset out of range");
        clear_to_next_dqt(search_tag(kDht, xpacket));
        return;
    } catch (const NotFoundException&) { // Logged as an error: see docs/compatibility.md, RAF.
        PLATE_MEND_LOG_ERROR("RAF::deal_high_jpg_data", "sample file has no xpacket, continue next step");
    }
    try {
        clear_to_next_dqt(search_tag(kZeroAndDht, 0));
        return;
    } catch (const NotFoundException&) {
        PLATE_MEND_LOG_ERROR("RAF::deal_high_jpg_data",
                             "sample file has no special flag, continue next step");
    }
    clear_to_next_dqt(search_tag(kDht, 0));
}

void RAF::find_tiff_offsets() {
    const Pattern& header = big_endian_ != 0 ? kBigEndianHeader : kLittleEndianHeader;
    std::vector<std::uint32_t> offsets;
    std::uint32_t start = 0;
    try {
        while (true) {
            offsets.push_back(search_tag(header, start));
            start = offsets.back() + kHeaderSize;
        }
    } catch (const NotFoundException&) { // NOLINT(bugprone-empty-catch): the end of the scan.
    }
    if (offsets.empty()) {
        throw NotFoundException("No tiff offsets found");
    }
    tiff_offsets = offsets;
}

std::uint32_t RAF::owning_header(std::uint32_t entry) const {
    for (const std::uint32_t header : tiff_offsets) {
        // The distance wraps at 32 bits: a header after the entry is far away.
        if (static_cast<std::uint32_t>(entry - header) <= kOwnerReach) {
            return header;
        }
    }
    return 0;
}

void RAF::read_damaged_strip_tags() {
    strip_ifd = std::make_shared<RAF_IFD>();
    try {
        const std::uint32_t entry = search_tag(big_endian_ != 0 ? kStripOffsets : kStripOffsetsLittle, 0);
        require_inside(entry, "StripOffsets offset is out of range");
        const auto strip_offsets = read_raw_de(entry);
        strip_offsets->value += owning_header(entry);
        strip_ifd->entries.emplace("StripOffsets", strip_offsets);
    } catch (const NotFoundException&) {
        throw NotFoundException(big_endian_ != 0 ? "StripOffsets not found" : "StripOfffsets not found");
    }
    try {
        const std::uint32_t entry =
            search_tag(big_endian_ != 0 ? kStripByteCounts : kStripByteCountsLittle, 0);
        require_inside(entry, "StripByteCounts offset is out of range");
        strip_ifd->entries.emplace("StripByteCounts", read_raw_de(entry));
    } catch (const NotFoundException&) {
        strip_ifd->entries.emplace("StripByteCounts", length_to_end());
    }
}

/// A StripByteCounts entry as if it had been read, with a length that extends to the end of the file.
std::shared_ptr<RAF_DE> RAF::length_to_end() const {
    auto entry = std::make_shared<RAF_DE>();
    entry->tag = native(std::uint16_t{0xF008}); // As stored: native() is its own inverse.
    entry->type = native(std::uint16_t{4});
    entry->count = native(std::uint32_t{1});
    entry->value =
        static_cast<std::uint32_t>(mapped_file->size() - strip_ifd->entries["StripOffsets"]->value);
    return entry;
}

// By value: see docs/compatibility.md, All formats.
void RAF::merge_data(const std::shared_ptr<RAF>& damaged, const std::shared_ptr<RAF>& sample,
                     std::filesystem::path output) { // NOLINT(performance-unnecessary-value-param)
    clear_path(output);
    std::ofstream stream(output, std::ios::binary | std::ios::app);
    if (!stream.is_open()) {
        throw VisitingBeyondException();
    }
    std::uint32_t length = damaged->strip_ifd->entries["StripByteCounts"]->value;

    // The sample's entry was read completely, so its value field is inside the file. The length is stored
    // there little-endian in either case; for "MM" the copy below takes the swapped length. No sample gets
    // here with "MM": see docs/compatibility.md, RAF.
    unsigned char* const field =
        sample->mapped_file->base + sample->strip_ifd->entries["StripByteCounts"]->position + kValueInEntry;
    if (damaged->big_endian_ != 0) {
        length = swap_bytes(length);
        for (unsigned int byte = 0; byte < 4; ++byte) {
            field[byte] = static_cast<unsigned char>(length >> (24U - 8U * byte));
        }
    } else {
        for (unsigned int byte = 0; byte < 4; ++byte) {
            field[byte] = static_cast<unsigned char>(length >> (8U * byte));
        }
    }

    const std::uint32_t sample_image = sample->strip_ifd->entries["StripOffsets"]->value;
    insert_bytes(stream, slice(*sample->mapped_file, 0, sample_image));
    const std::uint32_t damaged_image = damaged->strip_ifd->entries["StripOffsets"]->value;
    insert_bytes(stream, raw_data(*damaged->mapped_file, damaged_image, length));

    stream.close();
    sample->mapped_file->close(); // Otherwise its file could not be removed.
}

} // namespace plate_mend
