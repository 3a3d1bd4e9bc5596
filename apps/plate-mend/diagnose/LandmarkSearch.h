#pragma once

#include "diagnose/Landmarks.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// What the searches for the landmarks of all formats have in common.

namespace plate_mend::host {

using Place = std::optional<std::size_t>; ///< An offset in a file; nothing for what was not found.

constexpr std::uint64_t kEntrySize = 12; ///< Of a TIFF directory: tag, type, count, value.
constexpr std::uint64_t kCountInEntry = 4;
constexpr std::uint64_t kValueInEntry = 8;
constexpr std::uint16_t kTypeLong = 4;
constexpr std::uint16_t kHighestType = 12; ///< DOUBLE.

/// The bytes of a file as numbers of one byte order. What lies outside the file is nothing.
class Numbers {
  public:
    Numbers(std::span<const unsigned char> bytes, bool big_endian) : bytes_(bytes), big_endian_(big_endian) {}

    [[nodiscard]] std::uint64_t size() const { return bytes_.size(); }

    /// Whether so many bytes from an offset on lie in the file.
    [[nodiscard]] bool holds(std::uint64_t offset, std::uint64_t count) const {
        return offset <= size() && count <= size() - offset;
    }

    [[nodiscard]] std::optional<std::uint16_t> u16(std::uint64_t offset) const;
    [[nodiscard]] std::optional<std::uint32_t> u32(std::uint64_t offset) const;

    /// The value of an entry that lies in the file whole; 0 otherwise.
    [[nodiscard]] std::uint32_t value_of(std::uint64_t entry) const;

    /// The first place from start on where these two bytes are, in the file's byte order.
    [[nodiscard]] Place find(std::uint16_t tag, std::uint64_t start) const;

    /// Whether an entry has a type and a count that TIFF allows. Its tag is not looked at.
    [[nodiscard]] bool is_legal_entry(std::uint64_t offset) const;

  private:
    [[nodiscard]] std::optional<std::uint32_t> number(std::uint64_t offset, std::size_t count) const;

    std::span<const unsigned char> bytes_;
    bool big_endian_;
};

/// The first place of a text that lies in [start, end) whole. An end past the end of the file means that end.
[[nodiscard]] Place find_text(std::span<const unsigned char> bytes, std::string_view text,
                              std::uint64_t start = 0, std::uint64_t end = ~std::uint64_t{0});

/// "II*\0" or "MM\0*".
[[nodiscard]] std::string_view tiff_mark(bool big_endian);

void add_landmark(Landmarks& marks, std::string name, bool needed, Place place);

// The landmarks of one format each, added to those that are there. They follow the advanced repair search by
// search: where that gives up, because a read would leave the file or an entry is not legal, the landmark
// counts as lost.

void add_arw(Landmarks& marks, const Numbers& numbers);
void add_sr2_or_orf(Landmarks& marks, const Numbers& numbers);
void add_cr2(Landmarks& marks, const Numbers& numbers);
void add_nef(Landmarks& marks, const Numbers& numbers);
void add_dng(Landmarks& marks, const Numbers& numbers);

/// RAF files are little-endian: no repair takes a sample of the other order.
void add_raf(Landmarks& marks, std::span<const unsigned char> bytes);

void add_cr3(Landmarks& marks, std::span<const unsigned char> bytes);

/// The tables that a DNG sample has for the tiles of its main image, by its directories; nothing when they
/// cannot be read.
[[nodiscard]] std::optional<TileCounts> tiles_of_sample(const Numbers& numbers);

} // namespace plate_mend::host
