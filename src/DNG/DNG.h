#pragma once

#include "DNG/TagSearch.h"
#include "DNG/TileList.h"
#include "util/MMap.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <vector>

// A small model of a DNG file, a TIFF file (TIFF 6.0, DNG 1.4). It serves the repair and nothing else.
//
// The structure of the file may be destroyed, so the model is not a TIFF reader: it reads no entry count and
// follows no next link. It searches for a tag byte by byte and takes the first match as the beginning of an
// entry; a check of that entry's fields is the only protection against a false match. Patches are made
// through the writable mapping at positions remembered while reading.
//
// What a DNG looks like, as far as the repair is concerned:
//
//   IFD 0   StripOffsets (273) ──> a preview
//     └── SubIFDs (330), each with NewSubfileType (254):
//           0            the main image: TileOffsets (324) and TileByteCounts (325), each an entry whose
//                        value is the offset of a list of LONGs
//           another      a reduced image: StripOffsets (273) ──> a preview
//
// All numbers that the model returns are native; its offsets are 32-bit.

namespace plate_mend {

/// The TIFF header: 8 bytes at offset 0.
class IFH {
  public:
    [[nodiscard]] std::uint16_t byte_order() const { return byte_order_; }
    void set_byte_order(std::uint16_t value) { byte_order_ = value; }
    [[nodiscard]] std::uint16_t version() const { return version_; }
    void set_version(std::uint16_t value) { version_ = value; }
    [[nodiscard]] std::uint32_t first_ifd_offset() const { return first_ifd_offset_; }
    void set_first_ifd_offset(std::uint32_t value) { first_ifd_offset_ = value; }

  private:
    std::uint16_t byte_order_ = 0; // 0x4949 "II", 0x4D4D "MM".
    std::uint16_t version_ = 0;    // 42, or 0x2A00: 42 in the other byte order.
    std::uint32_t first_ifd_offset_ = 0;
};

/// A directory entry: 12 bytes.
class DE {
  public:
    [[nodiscard]] std::uint16_t tag() const { return tag_; }
    void set_tag(std::uint16_t value) { tag_ = value; }
    [[nodiscard]] std::uint16_t type() const { return type_; }
    void set_type(std::uint16_t value) { type_ = value; }
    [[nodiscard]] std::uint32_t count() const { return count_; }
    void set_count(std::uint32_t value) { count_ = value; }
    [[nodiscard]] std::uint32_t value() const { return value_; }
    void set_value(std::uint32_t value) { value_ = value; }

  private:
    std::uint16_t tag_ = 0;
    std::uint16_t type_ = 0;
    std::uint32_t count_ = 0;
    // The value field as one 32-bit number, whatever type and count are: a SHORT of a big-endian file is in
    // the upper half.
    std::uint32_t value_ = 0;
};

/// All entries read so far, whichever directory of the file they belong to. The repair never reads them back,
/// and fills neither entry count nor next link: see docs/compatibility.md, All formats.
class IFD {
  public:
    [[nodiscard]] std::uint16_t entry_count() const { return entry_count_; }
    void set_entry_count(std::uint16_t value) { entry_count_ = value; }
    [[nodiscard]] std::vector<std::shared_ptr<DE>> entries() const { return entries_; }
    void set_entries(std::vector<std::shared_ptr<DE>> entries) { entries_ = std::move(entries); }
    void append_entry(std::shared_ptr<DE> entry) { entries_.push_back(std::move(entry)); }
    [[nodiscard]] std::uint32_t next_ifd_offset() const { return next_ifd_offset_; }
    void set_next_ifd_offset(std::uint32_t value) { next_ifd_offset_ = value; }

  private:
    std::uint16_t entry_count_ = 0;
    std::vector<std::shared_ptr<DE>> entries_;
    std::uint32_t next_ifd_offset_ = 0;
};

/// One open file. Every operation works at the cursor of the mapping and leaves it wherever it stopped. No
/// offset is checked before a seek: a bad one makes the access that follows throw OutRangeException.
///
/// However many searches a repair makes, together they scan the file about once for each tag: see TagSearch,
/// and TileList for the lists. Neither of the two notices what is written through mmap(), so after that
/// nothing may be searched and no list read; after mmap() was closed no list can be read.
class DNG {
  public:
    using Pattern = TagSearch::Pattern; ///< A tag number, high byte first.

    /// Maps the file for reading and writing. A file that cannot be mapped does not throw; see valid.
    explicit DNG(std::filesystem::path path);

    /// Reads and checks the header, and takes the byte order from it. Throws IllegalException when it is not
    /// the header of a TIFF file; OutRangeException when it is truncated before a field that must be read.
    void parse_header();

    /// The offset of the first place from start on where the tag is in the file's byte order, at any
    /// alignment and whatever follows it. Does not move the cursor. Throws NotFoundException, also for a
    /// start at or past the end of the file.
    [[nodiscard]] std::uint32_t find_tag(Pattern pattern, std::uint32_t start) const;

    /// Whether the operations below would accept the entry at the offset. Throws OutRangeException when its
    /// 12 bytes are not all inside the file.
    [[nodiscard]] bool is_entry(std::uint32_t offset);

    // The reading operations read the entry at the offset, check it, put it into de, and append it to the
    // model's IFD. They throw OutRangeException when its 12 bytes are not all inside the file, before any
    // field is checked; IllegalException, with de unchanged, when it has tag 0, a type outside 1 to 12, or
    // count 0.

    /// Whether the entry's value is zero.
    bool read_entry_is_zero(const std::shared_ptr<DE>& de, std::uint32_t offset);

    /// Zeroes 30 bytes from the entry's value on, whatever its count. Throws OutRangeException when the 31
    /// bytes from there on are not all inside the file (see docs/compatibility.md, All formats); those inside
    /// are zeroed all the same.
    void blank_entry_data(const std::shared_ptr<DE>& de, std::uint32_t offset);

    /// The entry's value where its count is 1, otherwise the count numbers at the offset that value is.
    /// Throws OutRangeException when they are not all inside the file.
    [[nodiscard]] std::vector<std::uint32_t> read_sub_ifd_offsets(const std::shared_ptr<DE>& de,
                                                                  std::uint32_t offset);

    /// Find the first TileOffsets or TileByteCounts entry from start on and replace the list by the numbers
    /// at the offset that its value is, even for a count of 1: see docs/compatibility.md, DNG. Throw
    /// NotFoundException; OutRangeException when the list and one byte after it are not all inside the file.
    /// An exception leaves the old list.
    void read_tile_offsets(std::uint32_t start);
    void read_tile_byte_counts(std::uint32_t start);

    /// Appends to the file, which is opened for that, and created where it is missing. Neither a failed open
    /// nor a failed write is reported: see docs/compatibility.md, DNG.
    static void append_to_file(std::span<const unsigned char> bytes, const std::filesystem::path& path);

    /// The number as it is stored: its first byte in the file is the most significant of the result.
    [[nodiscard]] std::uint32_t as_stored(std::uint32_t number) const;

    /// The offset of IFD 0, after parse_header.
    [[nodiscard]] std::uint32_t first_ifd_offset() const { return ifh_->first_ifd_offset(); }
    [[nodiscard]] std::uint64_t file_size() const { return mmap_->size(); }
    [[nodiscard]] bool valid() const { return valid_; } ///< Whether anything is mapped.
    [[nodiscard]] bool big_endian() const { return big_endian_; }
    void set_big_endian(bool flag) { big_endian_ = flag; }
    [[nodiscard]] std::vector<ValueSlot> tile_offsets() const { return read_list(tile_offsets_); }
    [[nodiscard]] std::vector<ValueSlot> tile_byte_counts() const { return read_list(tile_byte_counts_); }
    [[nodiscard]] std::shared_ptr<MMAP> mmap() const { return mmap_; }
    [[nodiscard]] std::shared_ptr<IFH> ifh() const { return ifh_; } ///< Empty until parse_header.
    [[nodiscard]] std::shared_ptr<IFD> ifd() const { return ifd_; }

  private:
    [[nodiscard]] DE read_fields(std::uint32_t offset);
    void read_entry(const std::shared_ptr<DE>& de, std::uint32_t offset);
    [[nodiscard]] TileList find_list(Pattern pattern, std::uint32_t start);
    [[nodiscard]] std::vector<ValueSlot> read_list(const TileList& list) const;
    void forget_bytes(std::uint64_t first, std::uint64_t last);
    [[nodiscard]] std::uint16_t native(std::uint16_t stored) const;
    [[nodiscard]] std::uint32_t native(std::uint32_t stored) const;

    std::shared_ptr<MMAP> mmap_;
    std::shared_ptr<IFH> ifh_;
    std::shared_ptr<IFD> ifd_;
    bool valid_ = false;
    bool big_endian_ = false;
    TileList tile_offsets_;
    TileList tile_byte_counts_;
    mutable std::map<Pattern, TagSearch> searches_; ///< By their patterns, in file order.
};

} // namespace plate_mend
