#pragma once

#include "diagnose/Landmarks.h"

#include <byte_reader/ByteReader.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

// The landmarks of each format, and what the searches for them have in common.

namespace plate_mend::host {

using byte_reader::ByteReader;

using Offset = std::optional<std::size_t>; ///< In a file; nothing if not found.

constexpr std::uint64_t kEntrySize = 12; ///< An entry of a TIFF directory: tag, type, count, value.
constexpr std::uint64_t kCountInEntry = 4;
constexpr std::uint64_t kValueInEntry = 8;
constexpr std::uint16_t kTypeLong = 4;
constexpr std::uint16_t kHighestType = 12; ///< DOUBLE.

/// The value of an entry that is completely within the file; 0 otherwise.
[[nodiscard]] std::uint32_t value_of(const ByteReader& reader, std::uint64_t entry);

/// The first offset from start on at which these two bytes are, in the reader's byte order.
[[nodiscard]] Offset find_tag(const ByteReader& reader, std::uint16_t tag, std::uint64_t start);

/// Whether an entry has a type and a count that TIFF allows, and is completely within the file. Its tag is
/// not checked.
[[nodiscard]] bool is_legal_entry(const ByteReader& reader, std::uint64_t entry);

/// "II*\0" or "MM\0*".
[[nodiscard]] std::string_view tiff_mark(bool big_endian);

void add_landmark(Landmarks& marks, std::string name, bool needed, Offset offset);

// Each function adds the landmarks of one format to those already found. They follow the advanced repair
// search by search: where it gives up, because a read would go past the end of the file or an entry is
// invalid, the landmark counts as lost.

void add_arw(Landmarks& marks, const ByteReader& reader);
void add_sr2_or_orf(Landmarks& marks, const ByteReader& reader);
void add_cr2(Landmarks& marks, const ByteReader& reader);
void add_nef(Landmarks& marks, const ByteReader& reader);
void add_dng(Landmarks& marks, const ByteReader& reader);

/// RAF files are little-endian: no repair takes a sample of the other order.
void add_raf(Landmarks& marks, std::span<const unsigned char> bytes);

/// CR3 files are big-endian.
void add_cr3(Landmarks& marks, std::span<const unsigned char> bytes);

/// The tables that a DNG sample has for the tiles of its main image, according to its directories; nothing
/// when they cannot be read.
[[nodiscard]] std::optional<TileCounts> tiles_of_sample(const ByteReader& reader);

} // namespace plate_mend::host
