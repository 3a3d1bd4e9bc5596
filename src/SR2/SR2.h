#pragma once

#include "util/MMap.h"

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

// A small model of a Sony SR2 file, a TIFF file (TIFF 6.0). It serves the repair and nothing else.
//
// It reads the header and the frame of each directory (entry count, next directory), and finds the few
// entries it needs by searching the bytes for their tags; the field type is the only plausibility check. The
// same model serves the sample's clone, which it patches, and the damaged file, from which it reads one group
// of entries.
//
// What an SR2 looks like, as far as the repair is concerned:
//
//   IFD 0 ── next ──> IFD 1                          each: a preview JPEG (0x0201 offset, 0x0202 length)
//     └── SubIFDs (0x014A) ──> Sub IFD               the raw image's strip entries:
//
//     distance  tag   name
//     0         273   StripOffsets
//     12, 24          two entries that are not read
//     36        278   RowsPerStrip
//     48        279   StripByteCounts
//
// A value "as stored" holds the file's bytes in file order, the first byte most significant. In a file with
// byte order "II" it is byte-swapped relative to the number it means; native() returns the number.

namespace plate_mend {

/// The TIFF header: 8 bytes at offset 0.
struct SR2_IFH {
    std::uint16_t byte_order = 0;       ///< As stored: 0x4949 "II", 0x4D4D "MM".
    std::uint16_t version = 0;          ///< As stored: 42 in either byte order.
    std::uint32_t first_ifd_offset = 0; ///< As stored.
};

/// A directory entry: 12 bytes.
struct SR2_DE {
    std::uint32_t position =
        0;                   ///< Offset of the entry, set only for the sample's StripByteCounts, otherwise 0.
    std::uint16_t tag = 0;   ///< As stored.
    std::uint16_t type = 0;  ///< As stored.
    std::uint32_t count = 0; ///< As stored.
    std::uint32_t value = 0; ///< As stored: the value or the offset of the values.
};

/// A directory.
struct SR2_IFD {
    std::vector<std::shared_ptr<SR2_DE>> entries; ///< Those searched for, in that order.
    std::uint16_t count = 0;                      ///< As stored: the number of entries according to the file.
    std::uint32_t next = 0;                       ///< As stored: offset of the next directory.
};

/// The file. Offsets are native and 32-bit. Calling operations out of the order given here is undefined.
///
/// The sample is read by parse_header, first_ifd_offset (A), read_ifd0(A) (B), read_ifd0_tags(A, B),
/// read_sub_ifd (C), read_sub_ifd_tags(C), read_ifd1(B), read_ifd1_tags(B), clear_previews; the damaged file
/// by set_big_endian, find_bytes and is_strip_triple in a loop, read_strip_triple. Both must be mapped.
class SR2 {
  public:
    using Pattern = std::array<unsigned char, 2>; ///< A tag number, high byte first.

    /// Maps the file for reading and writing. A file that cannot be mapped does not throw; see is_mapped.
    explicit SR2(std::filesystem::path path);

    /// Maps the file as MMAP(path, read_only) does.
    SR2(std::filesystem::path path, bool read_only);

    [[nodiscard]] bool is_mapped() const { return mapped; }
    [[nodiscard]] bool is_big_endian() const { return big_endian; }
    void set_big_endian(bool flag) { big_endian = flag; }

    /// Reads and checks the header, and takes the byte order from it. Throws IllegalException, with nothing
    /// stored, when it is not the header of an SR2; OutRangeException when it is truncated.
    void parse_header();

    /// The header's offset of IFD 0.
    [[nodiscard]] std::uint32_t first_ifd_offset() const;

    /// Read the frame of a directory; read_ifd0 returns the offset of the next one. Throw
    /// VisitingBeyondException when the offset is past the end of the file, OutRangeException when the frame
    /// extends past it.
    std::uint32_t read_ifd0(std::uint32_t offset);
    void read_ifd1(std::uint32_t offset);

    /// Reads the frame of the directory that IFD 0's SubIFDs entry points to, and returns its offset. The
    /// entry's value is taken as that offset whatever its count: see docs/compatibility.md, ARW and SR2.
    /// Throws as the two above.
    std::uint32_t read_sub_ifd();

    /// Finds IFD 0's entries preview offset, preview length and SubIFDs in [start, end) and appends them to
    /// it. Throws VisitingBeyondException for an end past the last byte; otherwise as find_tag_in_range, and
    /// OutRangeException when an entry is truncated.
    void read_ifd0_tags(std::uint32_t start, std::uint32_t end);

    /// Find the directory's entries from start to the end of the file and append them to it: in the Sub IFD
    /// StripOffsets, RowsPerStrip (required but not used), StripByteCounts (with its position); in IFD 1
    /// preview offset, preview length. Throw VisitingBeyondException for a start past the last byte;
    /// otherwise as find_tag, and OutRangeException when an entry is truncated.
    void read_sub_ifd_tags(std::uint32_t start);
    void read_ifd1_tags(std::uint32_t start);

    /// Zeroes the first 30 bytes of the previews of IFD 0 and IFD 1, in this order, through the mapping.
    /// Throws OutRangeException when the first 31 bytes of a preview are not all inside the file (see
    /// docs/compatibility.md, All formats); what has been zeroed by then stays.
    void clear_previews();

    /// The offset of the first place in [start, end) where the tag is followed by a field type. An end below
    /// the start makes an unbounded range, equal ones make an empty one. Throws VisitingBeyondException for
    /// an end past the last byte or a tag in the last two bytes of the file; NotFoundException;
    /// OutRangeException when the type is truncated. For what is odd in the searches see
    /// docs/compatibility.md, ARW and SR2.
    std::uint32_t find_tag_in_range(Pattern pattern, std::uint32_t start, std::uint32_t end);

    /// The same from start to the end of the file; a start past it throws OutRangeException. After a tag
    /// without a field type the search resumes two bytes later, not one: see docs/compatibility.md, ARW and
    /// SR2.
    std::uint32_t find_tag(Pattern pattern, std::uint32_t start);

    /// The offset of the first place from start on where the tag is, whatever follows it. Throws
    /// OutRangeException for a start past the end of the file, NotFoundException.
    [[nodiscard]] std::uint32_t find_bytes(Pattern pattern, std::uint32_t start) const;

    /// The same in [start, end). Throws OutRangeException for an end past the end of the file. Kept without a
    /// caller: see docs/compatibility.md, All formats.
    [[nodiscard]] std::uint32_t find_bytes_in_range(Pattern pattern, std::uint32_t start,
                                                    std::uint32_t end) const;

    /// Whether the number is a field type of TIFF 6.0: 1 to 12.
    [[nodiscard]] static bool is_valid_type(std::uint16_t type);

    /// Whether the tags 273, 278 and 279 are at the offset, 36 and 48 bytes after it. Throws
    /// VisitingBeyondException for an offset past the last byte, OutRangeException when fewer than 50 bytes
    /// are left, whatever they are: see docs/compatibility.md, ARW and SR2.
    bool is_strip_triple(std::uint32_t offset);

    /// Reads the three entries at these distances into a new sub_ifd. Throws VisitingBeyondException for an
    /// offset past the last byte, OutRangeException when fewer than 60 bytes are left.
    void read_strip_triple(std::uint32_t offset);

    /// The number that a value as stored means in this file.
    [[nodiscard]] std::uint16_t native(std::uint16_t stored) const;
    [[nodiscard]] std::uint32_t native(std::uint32_t stored) const;

    std::shared_ptr<MMAP> map;
    std::shared_ptr<SR2_IFH> ifh;
    std::shared_ptr<SR2_IFD> ifd0;
    std::shared_ptr<SR2_IFD> sub_ifd; ///< The directory of the raw image's strip entries.
    std::shared_ptr<SR2_IFD> ifd1;
    bool big_endian = false;
    bool mapped = false;

  private:
    using FilePattern = std::array<unsigned char, 2>; ///< A tag number in the order of the file.

    [[nodiscard]] FilePattern in_file_order(Pattern pattern) const;
    std::shared_ptr<SR2_IFD> read_ifd(std::uint32_t offset);
    [[nodiscard]] bool has_valid_type(std::uint32_t match);
    std::shared_ptr<SR2_DE> read_entry(std::uint32_t offset);
    std::shared_ptr<SR2_DE> read_next_entry();
    void require_inside(std::uint32_t offset) const;
};

} // namespace plate_mend
