#pragma once

#include "support/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace test::oracle {

/// Thrown where a repair must fail.
struct Unrepairable {};

/// Throws Unrepairable unless the condition holds.
inline void require(bool condition) {
    if (!condition) {
        throw Unrepairable();
    }
}

/// An entry of a TIFF directory.
struct Entry {
    std::uint16_t tag;
    std::uint16_t type;
    std::uint32_t count;
    std::uint32_t value;

    /// Whether the tag is not 0, the type one of TIFF 6.0, and the count not 0.
    [[nodiscard]] bool legal() const { return tag != 0 && type >= 1 && type <= 12 && count != 0; }
};

/// The bytes of a file, read and patched one step after the other. A step outside throws Unrepairable.
struct Draft {
    Bytes bytes;
    ByteOrder order = ByteOrder::kLittle;

    [[nodiscard]] std::uint64_t size() const { return bytes.size(); }
    [[nodiscard]] std::uint16_t u16(std::uint64_t at) const;
    [[nodiscard]] std::uint32_t u32(std::uint64_t at) const;
    [[nodiscard]] Entry entry(std::uint64_t at) const;
    [[nodiscard]] Bytes run(std::uint64_t at, std::uint64_t count) const;

    /// Takes the byte order from "II" or "MM" at the start.
    void take_order();

    /// The first place from on where the pattern stands, all of it in front of end. The tag is a pattern of
    /// two bytes in the file's byte order.
    [[nodiscard]] std::optional<std::uint64_t> seek(const Bytes& pattern, std::uint64_t from,
                                                    std::uint64_t end) const;
    [[nodiscard]] std::uint64_t find(const Bytes& pattern, std::uint64_t from) const;
    [[nodiscard]] std::uint64_t find_tag(std::uint16_t tag, std::uint64_t from) const;
    [[nodiscard]] Bytes tag_bytes(std::uint16_t tag) const;

    /// Zeroes count bytes. A byte must follow them; none may be asked for anywhere.
    void blank(std::uint64_t at, std::uint64_t count);

    /// Stores a number that lies inside.
    void put(std::uint64_t at, std::uint32_t value);
};

/// Calls a reader, and makes nothing of Unrepairable.
template <typename Reader>
std::optional<Bytes> attempt(Reader reader) {
    try {
        return reader();
    } catch (const Unrepairable&) {
        return std::nullopt;
    }
}

} // namespace test::oracle
