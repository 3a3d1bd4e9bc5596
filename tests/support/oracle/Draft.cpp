#include "support/oracle/Draft.h"

#include <algorithm>

namespace test::oracle {

std::uint16_t Draft::u16(std::uint64_t at) const {
    require(at <= size() && size() - at >= 2);
    return get_u16(bytes, static_cast<std::size_t>(at), order);
}

std::uint32_t Draft::u32(std::uint64_t at) const {
    require(at <= size() && size() - at >= 4);
    return get_u32(bytes, static_cast<std::size_t>(at), order);
}

Entry Draft::entry(std::uint64_t at) const {
    return {u16(at), u16(at + 2), u32(at + 4), u32(at + 8)};
}

Bytes Draft::run(std::uint64_t at, std::uint64_t count) const {
    require(at <= size() && count <= size() - at);
    return part(bytes, static_cast<std::size_t>(at), static_cast<std::size_t>(at + count));
}

void Draft::take_order() {
    const Bytes mark = run(0, 2);
    require(mark == Bytes{'I', 'I'} || mark == Bytes{'M', 'M'});
    order = mark[0] == 'I' ? ByteOrder::kLittle : ByteOrder::kBig;
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
    require(at.has_value());
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
    require(at < size() && count < size() - at);
    std::fill_n(bytes.begin() + static_cast<std::ptrdiff_t>(at), count, static_cast<unsigned char>(0));
}

void Draft::put(std::uint64_t at, std::uint32_t value) {
    put_u32(bytes, static_cast<std::size_t>(at), value, order);
}

} // namespace test::oracle
