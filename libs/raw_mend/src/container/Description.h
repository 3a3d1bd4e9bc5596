#pragma once

#include "Bytes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace raw_mend {

enum class ByteOrder { kLittle, kBig };

/// Bytes of a file. The end never overflows in what describe() returns, but it may be past the end of the
/// file: a truncated file states where the rest was.
struct Extent {
    std::uint64_t offset = 0;
    std::uint64_t length = 0;

    [[nodiscard]] std::uint64_t end() const { return offset + length; }
    [[nodiscard]] bool is_within(Bytes file) const {
        return offset <= file.size() && length <= file.size() - offset;
    }
    /// The bytes themselves; they must be within the file.
    [[nodiscard]] Bytes of(Bytes file) const {
        return file.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(length));
    }
    bool operator==(const Extent&) const = default;
};

/// A number in a file that says where something is or how long it is.
struct NumberField {
    std::uint64_t at = 0; ///< Offset of the field itself.
    unsigned size = 4;    ///< 2, 4 or 8 bytes.
    ByteOrder order = ByteOrder::kLittle;
    std::uint64_t base = 0; ///< What is to be added to the number to get an offset in the file.
    bool operator==(const NumberField&) const = default;
};

/// How the samples of an image are coded.
enum class Coding {
    kUncompressed, ///< 8 to 32 bits, packed or in 16-bit words.
    kLosslessJpeg, ///< SOF3; one stream per piece.
    kLossyJpeg,    ///< Baseline; one stream per piece.
    kDeflate,
    kFixedRate,    ///< Cells of 16 bytes for 16 samples (Sony, compression 32767).
    kHuffman,      ///< Nikon's, compression 34713; no head in the data.
    kRun,          ///< Olympus's compressed; no head in the data.
    kCrx,          ///< CR3.
    kFujiLossless, ///< Compressed RAF; a head of its own in the data.
    kOther,        ///< Named by its number in Frame::compression.
};

/// The geometry of an image, as the container states it. Where the container states none, width, height, bits
/// and samples are those of the JPEG stream in the image's first piece; 0 where there is none in the file.
struct Frame {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    unsigned bits = 0;    ///< Per sample.
    unsigned samples = 1; ///< Per pixel.
    Coding coding = Coding::kOther;
    std::uint32_t compression = 0;  ///< The container's own number: TIFF's tag 259, or 0.
    std::uint32_t piece_width = 0;  ///< Of a tile; the image's width for strips.
    std::uint32_t piece_height = 0; ///< Of a tile or strip.
    /// Of the tables that describe it; cameras store 16-bit samples likewise.
    ByteOrder order = ByteOrder::kLittle;
    bool operator==(const Frame&) const = default;
};

/// A rectangle of an image, in pixels of its frame.
struct Area {
    std::uint32_t left = 0;
    std::uint32_t top = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool operator==(const Area&) const = default;
};

/// A strip, a tile, or the samples of a track.
struct Piece {
    Extent data;
    std::optional<NumberField> offset_field;
    std::optional<NumberField> length_field; ///< Nothing: the data extend to the end of the file or of a box.
};

/// An image: the raw image, or a preview.
struct Image {
    Frame frame;
    std::vector<Piece> pieces;
    std::optional<Extent> parameters;  ///< What its decoder needs besides: CMP1 (CR3), the curve (NEF).
    std::vector<std::uint32_t> slices; ///< CR2: widths of the vertical slices in samples, the last one's too.
};

/// What a photograph is made of.
struct Description {
    enum class Container { kTiff, kRaf, kBmff };

    Container container = Container::kTiff;
    ByteOrder order = ByteOrder::kLittle; ///< Of the file's first table.
    /// The one with the most pixels that holds a sensor's data. Without pieces if there is none.
    Image raw;
    /// All others: previews, thumbnails, smaller raw images; largest first.
    std::vector<Image> pictures;
    /// Header, directories, boxes, and values outside them: sorted, apart, within the file, and without any
    /// byte that belongs to an image.
    std::vector<Extent> tables;
    /// Where tables are, other than boxes, and the fields that say so: directories, values outside them (not
    /// those of maker notes), and CFA headers.
    std::vector<Piece> references;
    /// Data with an offset and a length that are no image: timed metadata of CR3.
    std::vector<Piece> metadata;
    /// Ranges around images with lengths of their own: mdat and all boxes around pictures, the boxes that
    /// CTBO lists, CFA data.
    std::vector<Piece> enclosing;
    std::string make; ///< Text, trimmed; empty if not stated.
    std::string model;
    std::vector<std::string> not_understood; ///< Sentences, for the report.
};

} // namespace raw_mend
