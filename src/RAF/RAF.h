#pragma once

#include "util/MMap.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

// A small model of a Fujifilm RAF file. It serves the repair and nothing else.
//
// The file's own header and its directory of offsets are never read. The file is treated as bytes with TIFF
// structures (TIFF 6.0) at unknown places, which are found by searching. The same model serves the sample's
// clone, which it patches, and the damaged file.
//
// What a RAF looks like, as far as the repair is concerned:
//
//   "FUJIFILMCCD-RAW "     header and offsets
//   JPEG                   Exif:    first TIFF header, IFD 0 ── next ──> IFD 1: thumbnail (0x0201, 0x0202)
//                          XMP:     a packet that ends in "xpacket end"
//                          picture: DHT FF C4, DQT FF DB
//   raw section            second TIFF header, a directory with 0xF007 StripOffsets, 0xF008 StripByteCounts
//   raw data
//
// Offsets in a directory are relative to its TIFF header. A field "as stored" holds the file's bytes in file
// order, the first byte most significant; in a file with byte order "II" it is byte-swapped relative to the
// number it means.

namespace plate_mend {

/// A TIFF header: 8 bytes.
struct RAF_IFH {
    std::uint32_t position = 0;         ///< Its offset in the file.
    std::uint16_t byte_order = 0;       ///< As stored: 0x4949 "II", 0x4D4D "MM".
    std::uint16_t flag = 0;             ///< As stored: 42 in either byte order.
    std::uint32_t first_ifd_offset = 0; ///< As stored.
};

/// A directory entry: 12 bytes.
struct RAF_DE {
    std::uint32_t position =
        0;                   ///< Offset of the entry, set only for the sample's StripByteCounts, otherwise 0.
    std::uint16_t tag = 0;   ///< As stored.
    std::uint16_t type = 0;  ///< As stored.
    std::uint32_t count = 0; ///< As stored.
    std::uint32_t value = 0; ///< Native; the operations below may make it absolute.
};

/// The entries searched for, by name. The first entry under a name stays. Nothing fills count and next: see
/// docs/compatibility.md, RAF.
struct RAF_IFD {
    std::map<std::string, std::shared_ptr<RAF_DE>> entries;
    std::uint16_t count = 0; ///< Never filled.
    std::uint32_t next = 0;  ///< Never filled.
};

/// The file. Offsets are 32-bit. Calling operations out of the order given here is undefined.
///
/// The sample is read by search_tag for its two headers, read_ifh, ifd1_offset, read_thumb_tags,
/// read_sample_strip_tags, and then patched by clear_thumb, deal_high_jpg_data; the damaged file is read by
/// set_big_endian, find_tiff_offsets, read_damaged_strip_tags. Both must be mapped. merge_data comes last.
///
/// A search throws OutRangeException for a range that extends past the file, NotFoundException when nothing
/// matches. Every read throws OutRangeException where the file ends too early. The message given with an
/// exception is never shown: see docs/compatibility.md, All formats.
class RAF {
  public:
    using Pattern = std::vector<std::uint8_t>; ///< Bytes in the order of the file.

    /// A TIFF header with IFD 0 right after it: byte order, 42, 8.
    inline static const Pattern kLittleEndianHeader{0x49, 0x49, 0x2A, 0x00, 0x08, 0x00, 0x00, 0x00};
    inline static const Pattern kBigEndianHeader{0x4D, 0x4D, 0x00, 0x2A, 0x00, 0x00, 0x00, 0x08};

    /// Maps the file for reading and writing. A file that cannot be mapped does not throw; see is_mapped.
    explicit RAF(std::filesystem::path path);

    [[nodiscard]] bool is_mapped() const { return is_mapped_; }
    [[nodiscard]] std::uint8_t big_endian() const { return big_endian_; } ///< 1 for "MM", 0 for "II".
    void set_big_endian(std::uint8_t flag) { big_endian_ = flag; }
    [[nodiscard]] std::uint32_t first_ifh_offset() const { return first_ifh.position; }
    [[nodiscard]] std::uint32_t second_ifh_offset() const { return second_ifh.position; }

    // Searches and headers (RAF.cpp).

    /// The offset of the first place from start on where the pattern is. A start past the end of the file is
    /// out of range.
    [[nodiscard]] std::uint32_t search_tag(const Pattern& pattern, std::uint32_t start) const;

    /// The same in [start, end). Only an end past the end of the file is out of range. Kept without a caller:
    /// see docs/compatibility.md, All formats.
    [[nodiscard]] std::uint32_t search_tag_in_range(const Pattern& pattern, std::uint32_t start,
                                                    std::uint32_t end) const;

    /// The two searches for a pattern that is given high byte first: in a little-endian file they look for
    /// its bytes in reverse order. The second is kept without a caller, too.
    [[nodiscard]] std::uint32_t search_order_tag(const Pattern& pattern, std::uint32_t start) const;
    [[nodiscard]] std::uint32_t search_order_tag_in_range(const Pattern& pattern, std::uint32_t start,
                                                          std::uint32_t end) const;

    /// Reads and checks the headers at two offsets, and takes the byte order from the first. Throws
    /// VisitingBeyondException for an offset past the last byte, IllegalException for a header that is
    /// refused, which every "MM" header is (see docs/compatibility.md, RAF). A first header that passed stays
    /// stored.
    void read_ifh(std::vector<std::uint32_t> offsets);

    /// The offset of IFD 1 in the file. IFD 0 is assumed to follow the first header immediately, and a next
    /// link of 0 returns the header's own position: see docs/compatibility.md, RAF. Throws
    /// VisitingBeyondException when IFD 0 or its next link begins past the last byte.
    [[nodiscard]] std::uint32_t ifd1_offset() const;

    // What the repair does with the two files (RafTools.cpp).

    /// Finds tags 0x0201 and 0x0202 of type LONG from IFD 1 to the end of the file and stores them as
    /// "thumb_offset", made absolute, and "thumb_size". Throws VisitingBeyondException for an offset past
    /// the last byte.
    void read_thumb_tags(std::uint32_t ifd1);

    /// Finds tags 0xF007 and 0xF008, of any type (see docs/compatibility.md, RAF), after the second header
    /// and stores them as "StripOffsets", made absolute, and "StripByteCounts", with its position.
    void read_sample_strip_tags();

    /// Zeroes the thumbnail. Throws OutRangeException when it begins past the last byte and is not empty, or
    /// when it ends with or past the last byte of the file; what has been zeroed by then stays.
    void clear_thumb();

    /// Zeroes the high jpg data: from a DHT marker to the end of the next DQT marker. The first DHT after the
    /// XMP packet is taken; without such a span the first one preceded by a zero, including that zero;
    /// without such a span the first in the file. Throws OutRangeException when the span ends with the last
    /// byte of the file; it is zeroed then.
    void deal_high_jpg_data();

    /// Finds every place that looks like a TIFF header. Throws NotFoundException when there is none.
    void find_tiff_offsets();

    /// Finds the first tags 0xF007 and 0xF008 of type LONG in the file and stores them as "StripOffsets" and
    /// "StripByteCounts". The offset is made absolute by the first header at most 136 bytes before its entry;
    /// without such a header it is taken as absolute. Without a 0xF008 the data extend to the end of the
    /// file.
    void read_damaged_strip_tags();

    /// Writes the output: the sample up to its raw data, patched with the length of the damaged file's, then
    /// the damaged file's raw data, as much of them as there is. Closes the sample's mapping. Failed writes
    /// go unnoticed. Throws VisitingBeyondException when the output cannot be opened; OutRangeException when
    /// the sample's raw data begin past its end, or when the damaged file's begin at or past its end with a
    /// length above 0; what has been written by then stays. Throws as clear_path.
    static void merge_data(const std::shared_ptr<RAF>& damaged, const std::shared_ptr<RAF>& sample,
                           std::filesystem::path output);

    std::shared_ptr<MMAP> mapped_file;
    RAF_IFH first_ifh;                       ///< Of the Exif; in a sample.
    RAF_IFH second_ifh;                      ///< Of the raw section; in a sample.
    std::vector<std::uint32_t> tiff_offsets; ///< Ascending; in a damaged file.
    std::shared_ptr<RAF_IFD> spare_ifd;      ///< Stays empty: see docs/compatibility.md, RAF.
    std::shared_ptr<RAF_IFD> thumb_ifd;      ///< "thumb_offset", "thumb_size"; in a sample.
    std::shared_ptr<RAF_IFD> strip_ifd;      ///< "StripOffsets", "StripByteCounts"; in both.

  private:
    [[nodiscard]] RAF_IFH read_header(std::uint32_t offset) const;
    [[nodiscard]] std::shared_ptr<RAF_DE> read_raw_de(std::uint32_t offset) const;
    [[nodiscard]] Pattern in_file_order(Pattern pattern) const;
    [[nodiscard]] std::uint16_t native(std::uint16_t stored) const;
    [[nodiscard]] std::uint32_t native(std::uint32_t stored) const;
    void require_inside(std::uint32_t offset, const char* message) const;
    [[nodiscard]] std::uint32_t owning_header(std::uint32_t entry) const;
    [[nodiscard]] std::shared_ptr<RAF_DE> length_to_end() const;
    void clear_to_next_dqt(std::uint32_t start);

    std::uint8_t big_endian_ = 0;
    bool is_mapped_ = false;
};

} // namespace plate_mend
