#pragma once

#include "util/MMap.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <vector>

// A small model of a Canon CR2 file, a TIFF file (TIFF 6.0) with a longer header. It serves the repair and
// nothing else.
//
// It is not a TIFF reader. An entry is found by searching the bytes for its tag: the first match is taken as
// the start of an entry, and a check of its fields is the only protection against a false one. The next
// directory is found by the four bytes after an entry that is known to be the last of its directory. The same
// model serves the sample's clone, which it patches, and the damaged file.
//
// What a CR2 looks like, as far as the repair is concerned:
//
//   header ── first directory ──> IFD 0   full-size JPEG in a strip; GPSInfo is the last entry
//     │                             └── next ──> IFD 1   thumbnail JPEG; its length is the last entry
//     │                                            └── next ──> IFD 2   small picture in a strip
//     └────── raw directory ────> IFD 3   the raw image: StripOffsets, then StripByteCounts

namespace plate_mend {

/// The CR2 header: 16 bytes at offset 0. Numbers are native, except the two that spell letters.
struct CR2_IFH {
    std::uint16_t byte_order = 0;       ///< 0x4949 "II", 0x4D4D "MM".
    std::uint16_t version = 0;          ///< 42, or 0x2A00: 42 in the other byte order.
    std::uint32_t first_ifd_offset = 0; ///< Of IFD 0.
    std::uint16_t cr_marker = 0;        ///< 0x4352 "CR", in either byte order.
    std::uint8_t major_version = 0;     ///< 2.
    std::uint8_t minor_version = 0;     ///< 0.
    std::uint32_t raw_ifd_offset = 0;   ///< Of the raw image's directory.
};

/// A directory entry: 12 bytes. Numbers are native.
struct CR2_DE {
    std::uint16_t tag = 0;
    std::uint16_t type = 0;  ///< A field type of TIFF 6.0, 1 to 12. Checked, but never interpreted.
    std::uint32_t count = 0; ///< Of values.
    std::uint32_t value = 0; ///< The last four bytes as one number, whatever type and count are: a SHORT of a
                             ///< big-endian file is in the upper half.
};

/// The entries read so far, whichever directory they belong to. A repair never reads them back, and never
/// fills the other two members: see docs/compatibility.md, All formats.
struct CR2_IFD {
    std::uint16_t entry_count = 0;                ///< Never filled.
    std::vector<std::shared_ptr<CR2_DE>> entries; ///< Those that passed the check.
    std::uint32_t next_ifd_offset = 0;            ///< Never filled.
};

/// The file. Offsets are 32-bit. An operation leaves the cursor of the mapping wherever it stopped, and
/// throws OutRangeException where it runs past the last byte.
///
/// The operations that read an entry throw IllegalException, and leave the given entry unchanged, when its
/// tag or its count is 0 or its type is not 1 to 12; an entry that passes is filled and appended to ifd.
class CR2 {
  public:
    using Pattern = std::array<unsigned char, 2>; ///< A tag number, high byte first.

    /// Maps the file for reading and writing. A file that cannot be mapped does not throw; see is_valid.
    explicit CR2(std::filesystem::path path);

    /// Whether the file is mapped; an empty one is not.
    [[nodiscard]] bool is_valid() const { return valid; }
    [[nodiscard]] bool is_big_endian() const { return big_endian; }
    void set_big_endian(bool flag) { big_endian = flag; }

    /// The size of the file in bytes.
    [[nodiscard]] std::uint64_t size() const { return mmap->size(); }

    /// Reads the header into a new ifh, and takes the byte order from it. Throws IllegalException at the
    /// first field that is not one of a CR2; the fields before it are stored then (see docs/compatibility.md,
    /// CR2).
    void parse_header();

    /// The header's offsets of IFD 0 and of the raw image's directory. Only valid after parse_header.
    [[nodiscard]] std::uint32_t first_ifd_offset() const { return ifh->first_ifd_offset; }
    [[nodiscard]] std::uint32_t raw_ifd_offset() const { return ifh->raw_ifd_offset; }

    /// File offset of the raw image data; 0 until it is set.
    [[nodiscard]] std::uint32_t get_raw_offset() const { return raw_offset; }
    void set_raw_offset(std::uint32_t offset) { raw_offset = offset; }

    /// The offset of the first place from start on where the tag's two bytes are, in file order, in an entry
    /// or anywhere else. The cursor is not used. Throws NotFoundException, also for a start past the end.
    [[nodiscard]] std::uint32_t find_tag(Pattern pattern, std::uint32_t start) const;

    /// Reads the entry at the offset and zeroes 30 bytes from its value on. Throws VisitingBeyondException,
    /// with the entry filled but not appended, for a value above size - 30 (for a size below 30 there is no
    /// such bound); OutRangeException when the 30th byte is the last of the file or past it: the bytes inside
    /// are zeroed then. See docs/compatibility.md, CR2.
    void blank_entry_data(const std::shared_ptr<CR2_DE>& entry, std::uint32_t offset);

    /// Reads the entry at the offset and returns the four bytes after it as a number: the offset of the next
    /// directory where the entry is the last of its own.
    std::uint32_t read_next_ifd_link(const std::shared_ptr<CR2_DE>& entry, std::uint32_t offset);

    /// Reads two entries and zeroes as many bytes as the value of the second, from the value of the first on.
    /// Throws VisitingBeyondException for a counts_offset above size, before the first entry is checked, and
    /// for a value of the first above size - 30, before the second is; OutRangeException when the last byte
    /// to be zeroed is the last of the file or past it: the bytes inside are zeroed then. See
    /// docs/compatibility.md, CR2.
    void blank_strip(const std::shared_ptr<CR2_DE>& offsets_entry,
                     const std::shared_ptr<CR2_DE>& counts_entry, std::uint32_t offsets_offset,
                     std::uint32_t counts_offset);

    /// Reads the entry at the offset and returns its value.
    std::uint32_t read_entry_value(const std::shared_ptr<CR2_DE>& entry, std::uint32_t offset);

    /// Whether a StripOffsets match is followed, 12 bytes later, by a StripByteCounts entry of type LONG
    /// whose count and value are not 0. That identifies the raw image's directory: in the others there are
    /// entries between the two. Throws OutRangeException for a match in the last 23 bytes, whatever they are.
    bool is_raw_strip_entry(std::uint32_t offset);

    /// Appends to the file at the path, which is opened for that, and created where it is missing. A failure
    /// is not reported: see docs/compatibility.md, CR2.
    static void append_to_file(std::span<const unsigned char> bytes, const std::filesystem::path& path);

    std::shared_ptr<MMAP> mmap;
    std::shared_ptr<CR2_IFH> ifh; ///< Empty until parse_header.
    std::shared_ptr<CR2_IFD> ifd;
    std::uint32_t raw_offset = 0;
    bool valid = false;
    bool big_endian = false;

  private:
    [[nodiscard]] std::uint16_t native(std::uint16_t stored) const;
    [[nodiscard]] std::uint32_t native(std::uint32_t stored) const;
    [[nodiscard]] CR2_DE read_fields(std::uint64_t offset);
    [[nodiscard]] CR2_DE read_entry(std::uint32_t offset);
    void require_room_to_blank(std::uint32_t value) const;
};

} // namespace plate_mend
