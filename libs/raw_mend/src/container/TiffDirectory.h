#pragma once

#include "container/Inventory.h"

#include <byte_reader/ByteReader.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace raw_mend {

/// One entry of a directory.
struct TiffEntry {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;
    std::uint32_t count = 0;
    std::uint64_t at = 0;     ///< Offset of the entry.
    std::uint64_t values = 0; ///< Offset of its first value, in the entry or elsewhere.
    std::uint64_t length = 0; ///< Bytes of all values.
    bool is_inside = false;   ///< Whether all its values are within the file.
    bool is_inline = false;   ///< Whether they are in the entry.
};

/// A directory (IFD).
struct TiffDirectory {
    Extent extent;                     ///< With the link to the next one; as stated, if it is truncated.
    std::vector<TiffEntry> entries;    ///< In the order of the file.
    std::optional<std::uint64_t> next; ///< Offset of the next directory of the chain.

    /// Offset of the link to the next one.
    [[nodiscard]] std::uint64_t link() const { return extent.end() - 4; }

    /// The first entry with this tag, or null.
    [[nodiscard]] const TiffEntry* find(std::uint16_t tag) const;
};

/// Reads the directories of one TIFF structure, which may be a part of a file. Numbers are in one byte order,
/// and offsets in entries count from a base. All offsets of this interface are in the file.
class TiffReader {
  public:
    enum class Scope {
        kFile,      ///< Values outside directories are recorded as tables, and what is wrong as sentences.
        kMakerNote, ///< The notes are a value already, and what is wrong in them does not matter.
    };

    /// The inventory must outlive the reader.
    TiffReader(Inventory& inventory, ByteOrder order, std::uint64_t base, Scope scope = Scope::kFile);

    [[nodiscard]] ByteOrder order() const { return order_; }
    [[nodiscard]] std::uint64_t base() const { return base_; }
    [[nodiscard]] Inventory& inventory() const { return inventory_; }
    [[nodiscard]] const byte_reader::ByteReader& bytes() const { return bytes_; }

    /// The directory at an offset. It is for the caller to record it as a table. Of a truncated one, the
    /// entries that are there. Nothing where it is outside the file, is not a directory by the types of its
    /// first entries, or overlaps one that was read before.
    [[nodiscard]] std::optional<TiffDirectory> read_directory(std::uint64_t offset) const;

    /// All numbers of an entry of type SHORT, LONG or IFD. Empty for no entry, another type and values
    /// outside the file.
    [[nodiscard]] std::vector<std::uint64_t> numbers(const TiffEntry* entry) const;

    /// The same, one number; nothing if the entry has fewer.
    [[nodiscard]] std::optional<std::uint32_t> number(const TiffEntry* entry, std::uint32_t index = 0) const;
    [[nodiscard]] std::uint32_t number_or(const TiffDirectory& directory, std::uint16_t tag,
                                          std::uint32_t otherwise) const;

    /// Where a number of an entry is. The base is this reader's for offsets and 0 for other numbers.
    [[nodiscard]] NumberField offset_field(const TiffEntry& entry, std::uint64_t index) const;
    [[nodiscard]] NumberField number_field(const TiffEntry& entry, std::uint64_t index) const;

    /// A LONG at an offset of the file that is an offset itself: the value field of an entry, or a link.
    [[nodiscard]] NumberField long_field(std::uint64_t at) const;

    /// The text of an entry of type ASCII, up to its first NUL, trimmed. Empty for no entry.
    [[nodiscard]] std::string text(const TiffEntry* entry) const;

  private:
    [[nodiscard]] bool is_directory(std::uint64_t offset, std::uint16_t count) const;
    [[nodiscard]] bool claim(const Extent& extent) const;
    [[nodiscard]] TiffEntry read_entry(std::uint64_t at) const;
    void add_sentence(const std::string& sentence) const;

    Inventory& inventory_;
    ByteOrder order_;
    byte_reader::ByteReader bytes_;
    std::uint64_t base_;
    Scope scope_;
};

/// The text without spaces and NULs around it, up to the first NUL.
[[nodiscard]] std::string trimmed(std::string text);

} // namespace raw_mend
