#include "support/oracle/Draft.h"

#include <algorithm>

namespace test::oracle {

std::uint16_t Draft::u16(std::uint64_t at) const {
    require(at <= size() && size() - at >= 2, kOutOfRange);
    return get_u16(bytes, static_cast<std::size_t>(at), order);
}

std::uint32_t Draft::u32(std::uint64_t at) const {
    require(at <= size() && size() - at >= 4, kOutOfRange);
    return get_u32(bytes, static_cast<std::size_t>(at), order);
}

Entry Draft::entry(std::uint64_t at) const {
    return {u16(at), u16(at + 2), u32(at + 4), u32(at + 8)};
}

Bytes Draft::run(std::uint64_t at, std::uint64_t count) const {
    require(at <= size() && count <= size() - at, kOutOfRange);
    return part(bytes, static_cast<std::size_t>(at), static_cast<std::size_t>(at + count));
}

void Draft::take_order() {
    const Bytes mark = run(0, 2);
    require(mark == Bytes{'I', 'I'} || mark == Bytes{'M', 'M'}, kIllegal);
    order = mark[0] == 'I' ? ByteOrder::kLittle : ByteOrder::kBig;
}

std::uint64_t Draft::take_header() {
    take_order();
    const std::uint64_t ifd0 = u32(4);
    const std::uint16_t version = u16(2);
    require((version == 42 || version == 0x2A00) && ifd0 != 0, kIllegal);
    return ifd0;
}

std::uint64_t Draft::next_directory(std::uint64_t directory) const {
    return u32(directory + 2 + 12 * std::uint64_t{u16(directory)});
}

Entry Draft::legal_entry(std::uint64_t at) const {
    const Entry found = entry(at);
    require(found.legal(), kIllegal);
    return found;
}

Entry Draft::find_entry(std::uint16_t tag, std::uint64_t from) const {
    return legal_entry(find_tag(tag, from));
}

std::uint64_t Draft::typed_tag(std::uint16_t tag, std::uint64_t from, std::uint64_t end,
                               std::uint64_t step) const {
    while (true) {
        const auto at = seek(tag_bytes(tag), from, end);
        require(at.has_value());
        const std::uint16_t type = u16(*at + 2);
        if (type >= 1 && type <= 12) {
            return *at;
        }
        from = *at + step;
    }
}

std::uint64_t Draft::find_strip_group(std::uint64_t rows, std::uint64_t counts) const {
    std::uint64_t group = find_tag(273, 0);
    while (true) {
        const std::uint16_t rows_tag = u16(group + rows);
        const std::uint16_t counts_tag = u16(group + counts);
        if (rows_tag == 278 && counts_tag == 279) {
            (void)entry(group + counts);
            return group;
        }
        group = find_tag(273, group + 1);
    }
}

std::optional<std::uint64_t> Draft::seek(const Bytes& pattern, std::uint64_t from, std::uint64_t end) const {
    for (std::uint64_t at = from; at + pattern.size() <= std::min(end, size()); ++at) {
        if (std::equal(pattern.begin(), pattern.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at))) {
            return at;
        }
    }
    return std::nullopt;
}

std::uint64_t Draft::find(const Bytes& pattern, std::uint64_t from) const {
    const auto at = seek(pattern, from, size());
    require(at.has_value(), kNotFound);
    return *at;
}

std::uint64_t Draft::find_tag(std::uint16_t tag, std::uint64_t from) const {
    return find(tag_bytes(tag), from);
}

Bytes Draft::tag_bytes(std::uint16_t tag) const {
    Bytes pattern(2);
    put_u16(pattern, 0, tag, order);
    return pattern;
}

void Draft::blank(std::uint64_t at, std::uint64_t count) {
    if (count == 0) {
        return;
    }
    require(at < size(), kOutOfRange);
    const std::uint64_t there = std::min(count, size() - at);
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), there, static_cast<unsigned char>(0));
    require(count < size() - at, kOutOfRange);
}

void Draft::put(std::uint64_t at, std::uint32_t value) {
    put_u32(bytes, static_cast<std::size_t>(at), value, order);
}

Bytes merged(const Draft& sample, std::uint64_t sample_image, const Draft& damaged,
             std::uint64_t damaged_image) {
    require(damaged_image <= damaged.size(), kOutOfRange);
    return joined(sample.run(0, sample_image), damaged.run(damaged_image, damaged.size() - damaged_image));
}

Bytes merged_by_strip_group(Draft sample, std::uint64_t sample_image, std::uint64_t byte_count,
                            const Bytes& damaged_bytes, std::uint64_t rows, std::uint64_t counts) {
    const Draft damaged{damaged_bytes, sample.order};
    const std::uint64_t strip = damaged.find_strip_group(rows, counts);
    require(byte_count + 12 < sample.size());
    sample.put(byte_count + 8, damaged.u32(strip + counts + 8));
    return merged(sample, sample_image, damaged, damaged.u32(strip + 8));
}

} // namespace test::oracle
