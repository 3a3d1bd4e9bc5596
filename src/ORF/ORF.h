#pragma once

#include "util/MMap.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

// A small model of an Olympus ORF file: a TIFF file (TIFF 6.0) with the letters "RO" or "OR" in place of the
// number 42. It serves the repair and nothing else.
//
// The sample is read from its header to IFD 0, where three tags are searched for as bytes. In the damaged
// file no offset is followed: three entries are found by their tags and by their distances from one another.
//
// What an ORF looks like, as far as the repair is concerned:
//
//   header ──> IFD 0, the only one of the chain (next IFD 0), with the raw image's strip entries:
//
//     distance  tag   name
//     0         273   StripOffsets
//     12, 24          two entries that are not read
//     36        278   RowsPerStrip
//     48        279   StripByteCounts
//
//   JPEG pictures that begin with SOI and DQT, wherever they are
//   the raw image, one strip
//
// A value "as stored" holds the file's bytes in file order, the first byte most significant. In a file with
// byte order "II" it is byte-swapped relative to the number it means; native() returns the number.

namespace plate_mend {

/// The header: 8 bytes at offset 0.
struct ORF_IFH {
    std::uint16_t byte_order = 0;       ///< As stored: 0x4949 "II", 0x4D4D "MM".
    std::uint16_t flag = 0;             ///< As stored: 0x524F "RO", 0x4F52 "OR".
    std::uint32_t first_ifd_offset = 0; ///< As stored.
};

/// A directory entry: 12 bytes. Only position and value are used.
struct ORF_DE {
    std::uint32_t position =
        0;                   ///< Offset of the entry, set only for the sample's StripByteCounts, otherwise 0.
    std::uint16_t tag = 0;   ///< As stored.
    std::uint16_t type = 0;  ///< As stored.
    std::uint32_t count = 0; ///< As stored; in a sample only the last two of its four bytes.
    std::uint32_t value = 0; ///< As stored: the value or the offset of the values.
};

/// A directory.
struct ORF_IFD {
    std::vector<std::shared_ptr<ORF_DE>> entries; ///< StripOffsets, RowsPerStrip, StripByteCounts.
    std::uint16_t count = 0; ///< As stored: the number of entries according to the file; 0 for a damaged one.
    std::uint32_t next = 0;  ///< As stored: offset of the next directory; 0 for a damaged file.
};

/// The file. Offsets are native and 32-bit. Calling operations out of the order given here is undefined.
///
/// The sample is read by read_ifh, first_ifd_offset (A), read_ifd0(A) (next, end), read_sample_tags(A, end),
/// blank_jpegs; the damaged file by set_big_endian, search_order_tag and is_raw_tag in a loop,
/// read_damaged_tags. Both must be mapped. The message given with an exception is never shown: see
/// docs/compatibility.md, All formats.
class ORF {
  public:
    /// The bytes to search for. A tag is given high byte first.
    using Pattern = std::vector<std::uint8_t>;

    /// Maps the file for reading and writing. A file that cannot be mapped does not throw; see is_mapped.
    explicit ORF(std::filesystem::path path);

    [[nodiscard]] bool is_mapped() const { return is_mapped_; }
    [[nodiscard]] std::uint8_t big_endian() const { return big_endian_; }
    void set_big_endian(std::uint8_t flag) { big_endian_ = flag; }

    /// Reads and checks the header, and takes the byte order from it. Throws IllegalException, with nothing
    /// stored, when it is not the header of an ORF; OutRangeException when it is truncated.
    void read_ifh();

    /// The header's offset of IFD 0.
    [[nodiscard]] std::uint32_t first_ifd_offset() const;

    /// Reads the frame of IFD 0. Returns the offset of the next directory, and that of the last byte of the
    /// next-IFD pointer. Throws VisitingBeyondException when the offset is past the end of the file,
    /// OutRangeException when the frame extends past it.
    std::pair<std::uint32_t, std::uint32_t> read_ifd0(std::uint32_t offset);

    /// Finds StripOffsets, RowsPerStrip and StripByteCounts in [offset, ifd0_end) and appends them to ifd0.
    /// The tags are searched for as bytes, at any alignment, and the first match counts. Throws
    /// VisitingBeyondException for an end past the last byte, NotFoundException, and OutRangeException when
    /// an entry is truncated.
    void read_sample_tags(std::uint32_t offset, std::uint32_t ifd0_end);

    /// Zeroes the first 30 bytes of every JPEG (FF D8 FF DB), in file order, through the mapping. Throws
    /// OutRangeException when the 31 bytes from the start of one are not all inside the file (see
    /// docs/compatibility.md, All formats); what has been zeroed by then stays.
    void blank_jpegs();

    /// The offset of the first place from start on where the bytes are. Throws OutRangeException for a start
    /// past the end of the file, NotFoundException.
    [[nodiscard]] std::uint32_t search_tag(const Pattern& pattern, std::uint32_t start) const;

    /// The same for bytes in the file's byte order: reversed in an "II" file.
    [[nodiscard]] std::uint32_t search_order_tag(const Pattern& pattern, std::uint32_t start) const;

    /// The same in [start, end). Throws OutRangeException for an end past the end of the file,
    /// NotFoundException.
    [[nodiscard]] std::uint32_t search_order_tag_in_range(const Pattern& pattern, std::uint32_t start,
                                                          std::uint32_t end) const;

    /// Whether the tags 273, 278 and 279 are at the offset, 36 and 48 bytes after it. Throws
    /// VisitingBeyondException for an offset past the last byte, OutRangeException when fewer than 50 bytes
    /// are left, whatever they are: see docs/compatibility.md, ORF.
    [[nodiscard]] bool is_raw_tag(std::uint32_t offset);

    /// Reads the three entries at these distances into a new ifd0. Throws VisitingBeyondException for an
    /// offset past the last byte, OutRangeException when fewer than 60 bytes are left.
    void read_damaged_tags(std::uint32_t offset);

    /// Writes the output: the sample up to its image, patched with the damaged file's byte count, then the
    /// damaged file from its image to its end. Closes the sample's mapping. Failed writes go unnoticed.
    /// Throws VisitingBeyondException when the output cannot be opened, OutRangeException when a slice is not
    /// inside its file; what has been written by then stays.
    static void merge_data(const std::shared_ptr<ORF>& damaged, const std::shared_ptr<ORF>& sample,
                           std::filesystem::path output);

    /// The number that a value as stored means in this file.
    [[nodiscard]] std::uint16_t native(std::uint16_t stored) const;
    [[nodiscard]] std::uint32_t native(std::uint32_t stored) const;

    std::shared_ptr<MMAP> mapped_file;
    std::shared_ptr<ORF_IFH> ifh;
    std::shared_ptr<ORF_IFD> ifd0;
    std::shared_ptr<ORF_IFD> spare_ifd; ///< Stays empty: see docs/compatibility.md, ORF.

  private:
    [[nodiscard]] Pattern in_file_order(const Pattern& pattern) const;
    [[nodiscard]] std::optional<std::uint32_t> jpeg_start(std::uint32_t from) const;
    std::shared_ptr<ORF_DE> read_sample_entry(std::uint32_t offset);
    std::shared_ptr<ORF_DE> read_damaged_entry(std::uint32_t offset);
    std::shared_ptr<ORF_DE> read_next_damaged_entry();
    void require_inside(std::uint32_t offset, const char* message) const;

    std::uint8_t big_endian_ = 0;
    bool is_mapped_ = false;
};

} // namespace plate_mend
