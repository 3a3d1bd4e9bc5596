#include "linear/DngFloods.h"

#include "support/TiffWriter.h"

#include <utility>

#include <functional>

namespace test {

namespace {

constexpr std::uint16_t kNewSubfileType = 254;
constexpr std::uint16_t kStripOffsets = 273;
constexpr std::uint16_t kTileOffsets = 324;
constexpr std::uint16_t kTileByteCounts = 325;
constexpr std::uint16_t kSubIfds = 330;
constexpr std::uint16_t kNoType = 99;

constexpr std::size_t kEntrySize = 12;
constexpr ByteOrder kOrder = ByteOrder::kLittle;

/// A small file with one tile, which does as either of the two.
Bytes plain() {
    DngBytes file(kOrder);
    file.header(8).entry(kStripOffsets, 1, 100).entry(kSubIfds, 1, 32);
    file.entry(kNewSubfileType, 1, 0).entry(kTileOffsets, 1, 80).entry(kTileByteCounts, 1, 84).fill(80, 0);
    return file.number(200).number(50).fill(300, 0x77).bytes();
}

/// Main images' entries, one after the other, up to the size.
DngBytes main_entries(std::size_t size) {
    DngBytes file(kOrder);
    while (file.size() + kEntrySize <= size) {
        file.entry(kNewSubfileType, 1, 0);
    }
    return file;
}

Bytes far_bad_tile_offsets(std::size_t size) {
    return main_entries(size).entry(kTileOffsets, 1, 0, kNoType).fill(size + 64, 0x55).bytes();
}

Bytes far_bad_byte_counts(std::size_t size) {
    DngBytes file = main_entries(size);
    file.entry(kTileOffsets, 1, 0).entry(kTileByteCounts, 1, 0, kNoType);
    return file.fill(size + 64, 0x55).bytes();
}

Bytes long_list_and_bad_byte_counts(std::size_t size) {
    DngBytes file = main_entries(size);
    file.entry(kTileOffsets, static_cast<std::uint32_t>(size / 8), 0).entry(kTileByteCounts, 1, 0, kNoType);
    return file.fill(size + 64, 0x55).bytes();
}

Bytes long_list_in_every_group(std::size_t size) {
    DngBytes file(kOrder);
    while (file.size() + 3 * kEntrySize <= size) {
        file.entry(kNewSubfileType, 1, 0);
        file.entry(kTileOffsets, static_cast<std::uint32_t>(size / 8), file.size() % 4);
        file.entry(kTileByteCounts, 1, 0, kNoType);
    }
    return file.bytes();
}

Bytes tag_numbers(std::size_t size) {
    Bytes bytes(size);
    for (std::size_t index = 0; index < size; index += 2) {
        bytes[index] = 0xFE;
    }
    return bytes;
}

/// A sample with a long list of sub-directories, from 32 on: half of its bytes. After it come the entries
/// that a test writes.
DngBytes with_sub_directories(std::size_t size,
                              const std::function<std::uint32_t(std::uint32_t)>& offset_of) {
    const auto count = static_cast<std::uint32_t>(size / 8);
    DngBytes file(kOrder);
    file.header(8).entry(kStripOffsets, 1, 0xA0).entry(kSubIfds, count, 32);
    for (std::uint32_t index = 0; index < count; ++index) {
        file.number(offset_of(index));
    }
    return file;
}

Bytes sub_directories_of_far_previews(std::size_t size) {
    // From places before each of two far entries in turn, each time a little further on or back.
    const auto half = static_cast<std::uint32_t>(size / 2);
    DngBytes file = with_sub_directories(size, [half](std::uint32_t index) {
        return index % 2 == 0 ? half + 3 * (index % 512) : half + half / 2 - 3 * (index % 512);
    });
    file.fill(half + half / 4, 0x55).entry(kNewSubfileType, 1, 1).entry(kStripOffsets, 1, 0x200);
    file.fill(size, 0x55).entry(kNewSubfileType, 1, 1).entry(kStripOffsets, 1, 0x300);
    return file.fill(size + 64, 0x55).bytes();
}

Bytes sub_directories_with_long_lists(std::size_t size) {
    const auto half = static_cast<std::uint32_t>(size / 2);
    DngBytes file =
        with_sub_directories(size, [half](std::uint32_t index) { return half + 32 + index % 16; });
    file.fill(size, 0x55).entry(kNewSubfileType, 1, 0);
    file.entry(kTileOffsets, half / 8, half).entry(kTileByteCounts, half / 8, half + 1);
    return file.fill(size + 64, 0x55).bytes();
}

Bytes previews_inside_the_list_of_the_main_image(std::size_t size) {
    // A main image whose list is long, and in turn a preview whose first bytes are inside that list. The
    // entries are after the numbers of the directories, 48 bytes for each of 16 previews.
    const auto half = static_cast<std::uint32_t>(size / 2);
    const std::uint32_t entries = half + 32;
    DngBytes file = with_sub_directories(size, [entries](std::uint32_t index) {
        return index % 2 == 0 ? entries : entries + 36 + 24 * (index / 2 % 16);
    });
    file.entry(kNewSubfileType, 1, 0);
    file.entry(kTileOffsets, half / 8, half + 512).entry(kTileByteCounts, half / 8, half + 1024);
    for (std::uint32_t preview = 0; preview < 16; ++preview) {
        file.entry(kNewSubfileType, 1, 1).entry(kStripOffsets, 1, half + 1024 + 41 * preview);
    }
    return file.fill(size + 64, 0x56).bytes();
}

} // namespace

DngBytes& DngBytes::header(std::uint32_t first_ifd) {
    const unsigned char letter = order_ == ByteOrder::kLittle ? 'I' : 'M';
    bytes_.resize(8, letter);
    put_u16(bytes_, 2, 42, order_);
    put_u32(bytes_, 4, first_ifd, order_);
    return *this;
}

DngBytes& DngBytes::entry(std::uint16_t tag, std::uint32_t count, std::uint32_t value, std::uint16_t type) {
    bytes_ = joined(std::move(bytes_), entry_bytes(tag, type, count, value, order_));
    return *this;
}

DngBytes& DngBytes::number(std::uint32_t value) {
    bytes_ = joined(std::move(bytes_), u32_bytes({value}, order_));
    return *this;
}

DngBytes& DngBytes::fill(std::size_t size, unsigned char value) {
    bytes_.resize(size, value);
    return *this;
}

std::vector<DngFlood> dng_floods(std::size_t size) {
    return {
        {"FarBadTileOffsets", far_bad_tile_offsets(size), plain()},
        {"FarBadByteCounts", far_bad_byte_counts(size), plain()},
        {"LongListAndBadByteCounts", long_list_and_bad_byte_counts(size), plain()},
        {"LongListInEveryGroup", long_list_in_every_group(size), plain()},
        {"TagNumbers", tag_numbers(size), plain()},
        {"SubDirectoriesOfFarPreviews", plain(), sub_directories_of_far_previews(size)},
        {"SubDirectoriesWithLongLists", plain(), sub_directories_with_long_lists(size)},
        {"PreviewsInsideTheListOfTheMainImage", plain(), previews_inside_the_list_of_the_main_image(size)},
    };
}

} // namespace test
