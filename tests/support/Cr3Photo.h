#pragma once

#include "support/Bytes.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace test {

/// A Canon CR3 photograph, laid out as a camera writes it (ISO BMFF, with Canon's boxes): ftyp, moov with
/// Canon's boxes and four tracks, the XMP packet, the preview, and mdat with the tracks' bytes: the large
/// JPEG, a small raw picture, the raw picture, and metadata.
///
/// With pictures, all of it is real, and LibRaw opens and decodes it. Without, the directories, the previews
/// and the tracks are bytes that look like nothing, of lengths that a test may choose.
struct Cr3Photo {
    static constexpr unsigned kWidth = 160; ///< The raw picture's.
    static constexpr unsigned kHeight = 120;
    static constexpr unsigned kBits = 14;
    static constexpr unsigned kBlack = 1024;

    struct Options {
        unsigned number = 1;           ///< Which photograph; another number is another one, same camera.
        std::size_t maker_notes = 700; ///< Payload of CMT3: it sets where all that follows is.
        std::size_t thumbnail = 400;   ///< Length of the JPEG in THMB, without pictures.
        std::size_t preview = 601;     ///< Length of the JPEG in PRVW, without pictures.
        bool pictures = false;         ///< Previews and tracks are real; CMT3 has 40 bytes or more.
        std::vector<std::uint16_t> samples{}; ///< With pictures: the raw one, instead of the number's scene.
        std::array<std::size_t, 4> tracks{1000, 301, 2002, 77}; ///< Lengths, without pictures.
        std::array<std::size_t, 4> gaps{0, 0, 0, 0};            ///< Bytes before each track.
        std::size_t after_tracks = 0;                           ///< Bytes after track 4.
        bool large_mdat = true;                                 ///< The size of mdat in 64 bits.
        Bytes large{}; ///< With pictures: the JPEG of track 1, instead of the scene's.
    };

    explicit Cr3Photo(const Options& options);
    Cr3Photo() : Cr3Photo(Options{}) {}

    Bytes bytes;

    /// The offset of a box, and of its "type" and payload 4 and 8 bytes after that. Names:
    ///
    ///   ftyp  moov  CNCV  CCTP  CCDT1 to CCDT3  CTBO  free  CMT1 to CMT4  THMB  mvhd  xmp  preview  PRVW
    ///   mdat trak1 to trak4, and within each as in "trak1/tkhd": tkhd  mdia  mdhd  hdlr  minf  vmhd  dinf
    ///   dref  stbl  stsd  entry  stts  stsc  free1  stsz  free2  co64
    [[nodiscard]] std::size_t at(const std::string& box) const { return boxes.at(box); }
    std::map<std::string, std::size_t> boxes;

    struct Run {
        std::size_t offset = 0;
        std::size_t size = 0;
    };
    Run thumbnail;             ///< The JPEG in THMB.
    Run preview;               ///< The JPEG in PRVW.
    std::array<Run, 4> tracks; ///< The bytes in mdat.
    std::size_t payload = 0;   ///< What is after the header of mdat.

    /// The bytes of track n, 1 to 4, as they are in the file now.
    [[nodiscard]] Bytes track(unsigned n) const;

    /// Places of the numbers of track n: its length in stsz, the low word of its offset in co64.
    [[nodiscard]] std::size_t size_entry(unsigned n) const;
    [[nodiscard]] std::size_t offset_entry(unsigned n) const;
};

/// What a repair must write with this sample and these bytes of tracks 1 and 3; and with those of the
/// original.
[[nodiscard]] Bytes expected_cr3(const Cr3Photo& sample, const Bytes& track1, const Bytes& track3);
[[nodiscard]] Bytes expected_output(const Cr3Photo& sample, const Cr3Photo& original);

} // namespace test
