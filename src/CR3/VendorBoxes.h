#pragma once

#include "CR3/Box.h"

#include <array>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

// Canon's own boxes, and the two "uuid" boxes of the top level. Layouts count from the start of the box; what
// a repair neither skips nor changes stays as bytes.

namespace plate_mend {

/// Compressor version. Raw.
class CNCVBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("CNCV"); }
};

/// A line of "CCTP". Raw, with two bytes that are checked.
class CCDTBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("CCDT"); }

    /// Whether byte 7 of the payload is 0, 1 or 16 and byte 15 is 1, 2 or 3. A payload of fewer than 16
    /// bytes is refused.
    [[nodiscard]] bool check_data() const;
};

/// The kinds of the tracks.
///
///   8   8  reserved: not a plain number, see CR3::parse_cctp
///   16  4  line_count: kept, not used (see docs/compatibility.md, CR3)
///   20     three "CCDT" boxes
class CCTPBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("CCTP"); }

    [[nodiscard]] std::uint64_t get_reserved() const { return reserved; }
    void set_reserved(std::uint64_t value) { reserved = value; }
    [[nodiscard]] std::uint32_t get_line_count() const { return line_count; }
    void set_line_count(std::uint32_t value) { line_count = value; }
    [[nodiscard]] std::array<CCDTBox, 3> get_lines() const { return lines; }
    void set_lines(const std::array<CCDTBox, 3>& value) { lines = value; }

  private:
    std::uint64_t reserved = 0;
    std::uint32_t line_count = 0;
    std::array<CCDTBox, 3> lines;
};

/// Offsets and sizes of other boxes. Raw.
class CTBOBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("CTBO"); }
};

/// The main directory, a TIFF file. Raw.
class CMT1Box : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("CMT1"); }
};

/// Exif, a TIFF file. Raw.
class CMT2Box : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("CMT2"); }
};

/// The maker notes, a TIFF file. Raw.
class CMT3Box : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("CMT3"); }
};

/// GPS, a TIFF file. Raw.
class CMT4Box : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("CMT4"); }
};

/// The thumbnail.
///
///   8   4  header, raw bytes        16  4  jpeg_size
///   12  2  value1                   20  2  value3
///   14  2  value2                   22  2  value4
///   24     jpeg, jpeg_size bytes
///          pad bytes, which are not kept; pad is jpeg_size AND 3 (see docs/compatibility.md, CR3)
///       4  trailer, only when pad is not 0
class THMBBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("THMB"); }

    [[nodiscard]] std::array<unsigned char, 4> get_header() const { return header; }
    void set_header(const std::array<unsigned char, 4>& value) { header = value; }
    [[nodiscard]] std::uint16_t get_value1() const { return value1; }
    void set_value1(std::uint16_t value) { value1 = value; }
    [[nodiscard]] std::uint16_t get_value2() const { return value2; }
    void set_value2(std::uint16_t value) { value2 = value; }
    [[nodiscard]] std::uint32_t get_jpeg_size() const { return jpeg_size; }
    void set_jpeg_size(std::uint32_t value) { jpeg_size = value; }
    [[nodiscard]] std::uint16_t get_value3() const { return value3; }
    void set_value3(std::uint16_t value) { value3 = value; }
    [[nodiscard]] std::uint16_t get_value4() const { return value4; }
    void set_value4(std::uint16_t value) { value4 = value; }
    [[nodiscard]] std::vector<unsigned char> get_jpeg() const { return jpeg; }
    void set_jpeg(std::vector<unsigned char> value) { jpeg = std::move(value); }
    [[nodiscard]] std::vector<unsigned char> get_padding() const { return padding; }
    void set_padding(std::vector<unsigned char> value) { padding = std::move(value); }
    [[nodiscard]] std::uint32_t get_trailer() const { return trailer; }
    void set_trailer(std::uint32_t value) { trailer = value; }

  private:
    std::array<unsigned char, 4> header{};
    std::uint16_t value1 = 0;
    std::uint16_t value2 = 0;
    std::uint32_t jpeg_size = 0;
    std::uint16_t value3 = 0;
    std::uint16_t value4 = 0;
    std::vector<unsigned char> jpeg;
    std::vector<unsigned char> padding; ///< As many zeros as bytes were skipped.
    std::uint32_t trailer = 0;          ///< 0 where the box has none.
};

/// The sample entry of a track: "CRAW" for pictures, "CTMD" for metadata. Raw.
class CRAWBox : public Box {
  public:
    [[nodiscard]] bool check_type() const {
        return get_type() == four_cc("CRAW") || get_type() == four_cc("CTMD");
    }
};

/// The XMP packet.
///
///   8   16  uuid
///   24      data, the packet
class XPacketDataBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("uuid"); }

    /// Whether uuid is be7acfcb-97a9-42e8-9c71-999491e3afac.
    [[nodiscard]] bool check_uuid() const;

    [[nodiscard]] BoxUuid get_uuid() const { return uuid; }
    void set_uuid(const BoxUuid& value) { uuid = value; }

  private:
    BoxUuid uuid{};
};

/// The preview.
///
///   8   4  word1                    16  2  value3
///   12  2  value1                   18  2  value4
///   14  2  value2                   20  4  jpeg_size
///   24     jpeg, jpeg_size bytes
class PRVWBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("PRVW"); }

    [[nodiscard]] std::uint32_t get_word1() const { return word1; }
    void set_word1(std::uint32_t value) { word1 = value; }
    [[nodiscard]] std::uint16_t get_value1() const { return value1; }
    void set_value1(std::uint16_t value) { value1 = value; }
    [[nodiscard]] std::uint16_t get_value2() const { return value2; }
    void set_value2(std::uint16_t value) { value2 = value; }
    [[nodiscard]] std::uint16_t get_value3() const { return value3; }
    void set_value3(std::uint16_t value) { value3 = value; }
    [[nodiscard]] std::uint16_t get_value4() const { return value4; }
    void set_value4(std::uint16_t value) { value4 = value; }
    [[nodiscard]] std::uint32_t get_jpeg_size() const { return jpeg_size; }
    void set_jpeg_size(std::uint32_t value) { jpeg_size = value; }
    [[nodiscard]] std::vector<unsigned char> get_jpeg() const { return jpeg; }
    void set_jpeg(std::vector<unsigned char> value) { jpeg = std::move(value); }

  private:
    std::uint32_t word1 = 0;
    std::uint16_t value1 = 0;
    std::uint16_t value2 = 0;
    std::uint16_t value3 = 0;
    std::uint16_t value4 = 0;
    std::uint32_t jpeg_size = 0;
    std::vector<unsigned char> jpeg;
};

/// The box that contains the preview.
///
///   8   16  uuid                    28  4  word2
///   24  4   word1                   32     a "PRVW" box
class PreviewDataBox : public Box {
  public:
    [[nodiscard]] bool check_type() const { return get_type() == four_cc("uuid"); }

    /// Whether uuid is eaf42b5e-1c98-4b88-b9fb-b7dc406e4d16.
    [[nodiscard]] bool check_uuid() const;

    [[nodiscard]] BoxUuid get_uuid() const { return uuid; }
    void set_uuid(const BoxUuid& value) { uuid = value; }
    [[nodiscard]] std::uint32_t get_word1() const { return word1; }
    void set_word1(std::uint32_t value) { word1 = value; }
    [[nodiscard]] std::uint32_t get_word2() const { return word2; }
    void set_word2(std::uint32_t value) { word2 = value; }
    [[nodiscard]] std::shared_ptr<PRVWBox> get_prvw() const { return prvw; }
    void set_prvw(std::shared_ptr<PRVWBox> value) { prvw = std::move(value); }

  private:
    BoxUuid uuid{};
    std::uint32_t word1 = 0;
    std::uint32_t word2 = 0;
    std::shared_ptr<PRVWBox> prvw;
};

} // namespace plate_mend
