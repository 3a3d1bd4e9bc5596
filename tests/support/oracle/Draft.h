#pragma once

#include "support/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace test::oracle {

/// Why a repair fails, in the words of the log.
inline constexpr std::string_view kIllegal = "Data is illegal";
inline constexpr std::string_view kNotFound = "Data can not found";
inline constexpr std::string_view kOutOfRange = "Access out of range";
inline constexpr std::string_view kMismatching = "Data is mismatching";

/// Thrown where a repair must fail.
struct Unrepairable {
    std::string_view reason; ///< Only the oracles that report reasons set it.
};

/// Throws Unrepairable unless the condition holds.
inline void require(bool condition, std::string_view reason = {}) {
    if (!condition) {
        throw Unrepairable{reason};
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

inline constexpr std::uint64_t kAnywhere = UINT64_MAX; ///< No bound of a search.

/// The bytes of a file, read and patched step by step. A step outside the file throws Unrepairable.
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

    /// Takes the byte order and checks the rest of a TIFF header. Returns the offset of IFD 0.
    std::uint64_t take_header();

    /// The link at the end of a directory.
    [[nodiscard]] std::uint64_t next_directory(std::uint64_t directory) const;

    /// The entry at this offset, which must be legal, and the first one of a tag at or after the offset.
    [[nodiscard]] Entry legal_entry(std::uint64_t at) const;
    [[nodiscard]] Entry find_entry(std::uint16_t tag, std::uint64_t from) const;

    /// The first place in [from, end) of the tag with a type of TIFF after it. The search goes on step bytes
    /// after a place without one.
    [[nodiscard]] std::uint64_t typed_tag(std::uint16_t tag, std::uint64_t from, std::uint64_t end,
                                          std::uint64_t step) const;

    /// The first entry of tag 273 with the tags 278 and 279 at these distances from it.
    [[nodiscard]] std::uint64_t find_strip_group(std::uint64_t rows, std::uint64_t counts) const;

    /// The first place of the pattern at or after from; all of it must be before end. The tag is a pattern of
    /// two bytes in the file's byte order.
    [[nodiscard]] std::optional<std::uint64_t> seek(const Bytes& pattern, std::uint64_t from,
                                                    std::uint64_t end) const;
    [[nodiscard]] std::uint64_t find(const Bytes& pattern, std::uint64_t from) const;
    [[nodiscard]] std::uint64_t find_tag(std::uint16_t tag, std::uint64_t from) const;
    [[nodiscard]] Bytes tag_bytes(std::uint16_t tag) const;

    /// Zeroes count bytes, as far as the file goes. A byte must follow them. With a count of 0, at may be
    /// anywhere.
    void blank(std::uint64_t at, std::uint64_t count);

    /// Stores a number, all of which must be inside.
    void put(std::uint64_t at, std::uint32_t value);
};

/// The sample up to its image, then the damaged file from its own image on.
[[nodiscard]] Bytes merged(const Draft& sample, std::uint64_t sample_image, const Draft& damaged,
                           std::uint64_t damaged_image);

/// The same where the damaged file has the strip group, whose members are at these distances (see
/// Draft::find_strip_group): its image is the group's, and the sample's entry at byte_count gets the group's
/// byte count. A byte must follow that entry.
[[nodiscard]] Bytes merged_by_strip_group(Draft sample, std::uint64_t sample_image, std::uint64_t byte_count,
                                          const Bytes& damaged_bytes, std::uint64_t rows,
                                          std::uint64_t counts);

/// Calls a reader. Returns nothing where it throws Unrepairable.
template <typename Reader>
std::optional<Bytes> attempt(Reader reader) {
    try {
        return reader();
    } catch (const Unrepairable&) {
        return std::nullopt;
    }
}

} // namespace test::oracle
