#include "support/oracle/Draft.h"
#include "support/oracle/Oracle.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace test::oracle {

namespace {

const Bytes kTiffHeader{'I', 'I', 42, 0, 8, 0, 0, 0};
const Bytes kXpacketEnd{'x', 'p', 'a', 'c', 'k', 'e', 't', ' ', 'e', 'n', 'd'};
const Bytes kHuffmanTable{0xFF, 0xC4};
const Bytes kQuantTable{0xFF, 0xDB};

/// Blanks from the first Huffman table at or after from, marked by the pattern, to the quantisation table
/// after it. False when one of the two is not there.
bool blank_tables(Draft& sample, const Bytes& pattern, std::uint64_t from) {
    const auto first = sample.seek(pattern, from, sample.size());
    const auto last = first ? sample.seek(kQuantTable, *first, sample.size()) : std::nullopt;
    if (!last) {
        return false;
    }
    sample.blank(*first, *last + 2 - *first);
    return true;
}

Bytes repair(const Bytes& sample_bytes, const Bytes& damaged_bytes) {
    Draft sample{sample_bytes};
    const std::uint64_t first_header = sample.find(kTiffHeader, 0);
    const std::uint64_t second_header = sample.find(kTiffHeader, first_header + 8);

    // Offsets in the file are sums of 32 bits.
    const auto from = [](std::uint64_t header, std::uint32_t value) {
        return static_cast<std::uint32_t>(header + value);
    };
    const std::uint64_t link = first_header + 10 + 12 * std::uint64_t{sample.u16(first_header + 8)};
    const std::uint64_t ifd1 = from(first_header, sample.u32(link));
    require(ifd1 < sample.size());
    const Entry thumb_offset = sample.entry(sample.find({0x01, 0x02, 4, 0}, ifd1));
    const Entry thumb_size = sample.entry(sample.find({0x02, 0x02, 4, 0}, ifd1));
    const Entry image = sample.entry(sample.find_tag(0xF007, second_header));
    const std::uint64_t length_entry = sample.find_tag(0xF008, second_header);
    (void)sample.entry(length_entry);

    sample.blank(from(first_header, thumb_offset.value), thumb_size.value);
    const auto xpacket = sample.seek(kXpacketEnd, 0, sample.size());
    const bool blanked = (xpacket && blank_tables(sample, kHuffmanTable, *xpacket)) ||
                         blank_tables(sample, {0, 0xFF, 0xC4}, 0) || blank_tables(sample, kHuffmanTable, 0);
    require(blanked);

    const Draft damaged{damaged_bytes};
    std::vector<std::uint64_t> headers{damaged.find(kTiffHeader, 0)};
    while (const auto next = damaged.seek(kTiffHeader, headers.back() + 8, damaged.size())) {
        headers.push_back(*next);
    }
    const std::uint64_t offset_entry = damaged.find({0x07, 0xF0, 4, 0}, 0);
    std::uint32_t damaged_image = damaged.entry(offset_entry).value;
    const auto owner = std::find_if(headers.begin(), headers.end(), [offset_entry](std::uint64_t header) {
        return header <= offset_entry && offset_entry - header <= 136;
    });
    if (owner != headers.end()) {
        damaged_image = from(*owner, damaged_image);
    }
    const auto damaged_length = damaged.seek({0x08, 0xF0, 4, 0}, 0, damaged.size());
    const std::uint32_t length = damaged_length ? damaged.entry(*damaged_length).value
                                                : static_cast<std::uint32_t>(damaged.size() - damaged_image);

    sample.put(length_entry + 8, length);
    Bytes head = sample.run(0, from(second_header, image.value));
    if (length == 0) {
        return head;
    }
    require(damaged_image < damaged.size());
    // A file that ends inside the raw data yields what it has of them.
    return joined(std::move(head), damaged.run(damaged_image, std::min<std::uint64_t>(
                                                                  length, damaged.size() - damaged_image)));
}

} // namespace

Expected repaired_raf(const Bytes& sample, const Bytes& damaged) {
    return attempt([&] { return repair(sample, damaged); });
}

} // namespace test::oracle
