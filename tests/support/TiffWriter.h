#pragma once

#include "support/Bytes.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace test {

/// One directory entry to be written. The values are encoded when it is made.
struct TiffEntry {
    std::uint16_t tag;
    std::uint16_t type;
    std::uint32_t count;
    Bytes values; ///< In the order of the file.
};

/// The 12 bytes of a directory entry with its value field.
[[nodiscard]] Bytes entry_bytes(std::uint16_t tag, std::uint16_t type, std::uint32_t count,
                                std::uint32_t value, ByteOrder order = ByteOrder::kLittle);

/// StripOffsets, two other entries, RowsPerStrip and StripByteCounts: 60 bytes.
[[nodiscard]] Bytes strip_group(std::uint32_t offset, std::uint32_t byte_count, ByteOrder order);

/// Where a directory was written.
struct TiffDirectory {
    std::uint32_t offset;            ///< The entry count.
    std::uint32_t next_link;         ///< The four bytes after the last entry.
    std::vector<std::uint16_t> tags; ///< In file order.

    /// The offset of an entry, and of its value field. The tag must be there.
    [[nodiscard]] std::uint32_t entry(std::uint16_t tag) const;
    [[nodiscard]] std::uint32_t value(std::uint16_t tag) const { return entry(tag) + 8; }
};

/// Writes a TIFF file from front to back (TIFF 6.0). Offsets that are known later are patched.
class TiffWriter {
  public:
    explicit TiffWriter(ByteOrder order) : order_(order) {}

    [[nodiscard]] TiffEntry byte(std::uint16_t tag, const Bytes& values) const;
    [[nodiscard]] TiffEntry ascii(std::uint16_t tag, std::string_view text) const; ///< Adds the NUL.
    [[nodiscard]] TiffEntry shorts(std::uint16_t tag, const std::vector<std::uint16_t>& values) const;
    [[nodiscard]] TiffEntry longs(std::uint16_t tag, const std::vector<std::uint32_t>& values) const;
    /// Numerators and denominators in turn.
    [[nodiscard]] TiffEntry rationals(std::uint16_t tag, const std::vector<std::uint32_t>& values) const;
    [[nodiscard]] TiffEntry srationals(std::uint16_t tag, const std::vector<std::int32_t>& values) const;
    [[nodiscard]] TiffEntry undefined(std::uint16_t tag, const Bytes& values) const;

    /// "II" or "MM", 42, and the offset of IFD 0.
    void write_header(std::uint32_t first_ifd = 8);

    /// Writes a directory here, in the order given, with a next link of 0, and values of more than four
    /// bytes after it.
    TiffDirectory write_directory(const std::vector<TiffEntry>& entries);

    /// Appends bytes and returns their offset.
    std::uint32_t append(const Bytes& bytes);

    /// Appends bytes, sets their offset and their length in two entries of the directory, and returns the
    /// offset.
    std::uint32_t place(const TiffDirectory& directory, std::uint16_t offset_tag, std::uint16_t length_tag,
                        const Bytes& bytes);

    /// Appends zeros up to the offset, which must not be before the end, and up to the next sector of 512
    /// bytes.
    void pad_to(std::size_t offset);
    void pad_to_sector() { pad_to((std::size_t{offset()} + 511) / 512 * 512); }

    void set_next(const TiffDirectory& directory, std::uint32_t offset) {
        patch_u32(directory.next_link, offset);
    }
    void set_value(const TiffDirectory& directory, std::uint16_t tag, std::uint32_t value) {
        patch_u32(directory.value(tag), value);
    }
    void patch_u32(std::size_t offset, std::uint32_t value) { put_u32(bytes_, offset, value, order_); }

    /// The size so far: where the next bytes go.
    [[nodiscard]] std::uint32_t offset() const { return static_cast<std::uint32_t>(bytes_.size()); }
    [[nodiscard]] const Bytes& bytes() const { return bytes_; }
    [[nodiscard]] ByteOrder order() const { return order_; }

  private:
    ByteOrder order_;
    Bytes bytes_;
};

} // namespace test
