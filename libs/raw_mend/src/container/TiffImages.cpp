#include "container/TiffImages.h"

#include "container/JpegHead.h"
#include "container/TiffCoding.h"
#include "container/TiffTags.h"

#include <algorithm>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::uint32_t kCfa = 32803; // Photometric interpretations.
constexpr std::uint32_t kLinearRaw = 34892;

// Tags of an RW2's first directory.
constexpr std::uint16_t kRw2Width = 0x02;
constexpr std::uint16_t kRw2Height = 0x03;
constexpr std::uint16_t kRw2Bits = 0x0A;
constexpr std::uint16_t kRw2Compression = 0x0B;
constexpr std::uint16_t kRw2Jpeg = 0x2E;
constexpr std::uint16_t kRw2DataOffset = 0x118;

std::optional<JpegHead> jpeg_of(const TiffReader& reader, const Image& image) {
    return image.pieces.empty() ? std::nullopt
                                : read_jpeg_head(reader.inventory().bytes(), image.pieces.front().data);
}

/// Fills in what the directory leaves open. A sensor's rows are in one, two or four components; in three,
/// pixels have three samples.
void take_frame(Frame& frame, const JpegHead& head) {
    const bool is_interleaved = head.is_lossless && head.components != 3;
    frame.width = is_interleaved ? head.width * head.components : head.width;
    frame.height = head.height;
    frame.bits = head.bits;
    frame.samples = is_interleaved ? 1 : head.components;
}

/// From the number at the entry on, to the end of the file.
Piece piece_to_the_end(const TiffReader& reader, const TiffEntry& offsets, std::uint64_t offset) {
    const std::uint64_t size = reader.inventory().size();
    return {.data = {offset, offset < size ? size - offset : 0},
            .offset_field = reader.offset_field(offsets, 0),
            .length_field = {}};
}

std::vector<Piece> pieces_of(const TiffReader& reader, const TiffDirectory& directory,
                             std::uint16_t offsets_tag, std::uint16_t lengths_tag) {
    const TiffEntry* const offsets_entry = directory.find(offsets_tag);
    const TiffEntry* const lengths_entry = directory.find(lengths_tag);
    const auto offsets = reader.numbers(offsets_entry);
    if (offsets.size() == 1 && lengths_entry == nullptr) {
        return {piece_to_the_end(reader, *offsets_entry, reader.base() + offsets.front())};
    }
    const auto lengths = reader.numbers(lengths_entry);
    if (offsets.size() != lengths.size()) {
        reader.inventory().add_sentence("The directory at offset " + std::to_string(directory.extent.offset) +
                                        " has " + std::to_string(offsets.size()) +
                                        " offsets of strips or tiles and " + std::to_string(lengths.size()) +
                                        " lengths.");
    }
    std::vector<Piece> pieces;
    pieces.reserve(std::min(offsets.size(), lengths.size()));
    for (std::size_t index = 0; index < std::min(offsets.size(), lengths.size()); ++index) {
        pieces.push_back({.data = {reader.base() + offsets[index], lengths[index]},
                          .offset_field = reader.offset_field(*offsets_entry, index),
                          .length_field = reader.number_field(*lengths_entry, index)});
    }
    return pieces;
}

Frame read_frame(const TiffReader& reader, const TiffDirectory& directory) {
    Frame frame;
    frame.width = reader.number_or(directory, tag::kImageWidth, 0);
    frame.height = reader.number_or(directory, tag::kImageLength, 0);
    const TiffEntry* const bits = directory.find(tag::kBitsPerSample);
    frame.bits = reader.number(bits).value_or(0);
    frame.samples = reader.number_or(directory, tag::kSamplesPerPixel, bits == nullptr ? 1 : bits->count);
    frame.compression = reader.number_or(directory, tag::kCompression, 1);
    frame.order = reader.order();
    return frame;
}

std::vector<std::uint32_t> read_slices(const TiffReader& reader, const TiffEntry* entry) {
    constexpr std::uint32_t kMost = 64;
    const auto count = reader.number(entry, 0);
    const auto last = reader.number(entry, 2);
    if (!count || !last || *count > kMost) {
        return {};
    }
    std::vector<std::uint32_t> slices(*count, *reader.number(entry, 1));
    slices.push_back(*last);
    return slices;
}

bool holds_sensor_data(const TiffReader& reader, const TiffHeader& header, const TiffNode& node,
                       const Frame& frame) {
    const std::uint32_t photometric = reader.number_or(node.directory, tag::kPhotometric, 0);
    const bool is_orf_raw = header.kind == TiffHeader::Kind::kOrf && node.role == TiffNode::Role::kFirst;
    const bool is_cr2_raw = header.raw_directory && (node.directory.extent.offset == *header.raw_directory ||
                                                     node.directory.find(tag::kSlices) != nullptr);
    return photometric == kCfa || photometric == kLinearRaw || is_orf_raw || is_cr2_raw ||
           is_sensor_compression(frame.compression);
}

void set_piece_size(const TiffReader& reader, const TiffDirectory& directory, bool is_tiled, Frame& frame) {
    if (is_tiled) {
        frame.piece_width = reader.number_or(directory, tag::kTileWidth, frame.width);
        frame.piece_height = reader.number_or(directory, tag::kTileLength, frame.height);
        return;
    }
    frame.piece_width = frame.width;
    frame.piece_height =
        std::min(frame.height, reader.number_or(directory, tag::kRowsPerStrip, frame.height));
}

/// The image by strips or by tiles.
void add_striped(const TiffReader& reader, const TiffHeader& header, const TiffNode& node,
                 std::vector<TiffImage>& images) {
    const TiffDirectory& directory = node.directory;
    const bool is_tiled = directory.find(tag::kTileOffsets) != nullptr;
    if (!is_tiled && directory.find(tag::kStripOffsets) == nullptr) {
        return;
    }
    TiffImage found{.image = {},
                    .holds_sensor_data = false,
                    .is_reduced = (reader.number_or(directory, tag::kNewSubFileType, 0) & 1U) != 0,
                    .directory = directory.extent.offset};
    Image& image = found.image;
    image.frame = read_frame(reader, directory);
    image.pieces = is_tiled ? pieces_of(reader, directory, tag::kTileOffsets, tag::kTileByteCounts)
                            : pieces_of(reader, directory, tag::kStripOffsets, tag::kStripByteCounts);
    found.holds_sensor_data = holds_sensor_data(reader, header, node, image.frame);
    const std::uint64_t length = data_length(image);
    if (length == 0) {
        return;
    }
    const auto jpeg = jpeg_of(reader, image);
    if (header.raw_directory) {
        image.slices = read_slices(reader, directory.find(tag::kSlices));
    }
    if (jpeg && (image.frame.width == 0 || image.frame.height == 0)) {
        take_frame(image.frame, *jpeg);
    }
    image.frame.coding = coding_of(image.frame, {.kind = header.kind,
                                                 .holds_sensor_data = found.holds_sensor_data,
                                                 .data_length = length,
                                                 .jpeg = jpeg});
    set_piece_size(reader, directory, is_tiled, image.frame);
    images.push_back(std::move(found));
}

/// The raw image of an RW2. Where 0x118 is, StripOffsets is not an offset.
void add_rw2_raw(const TiffReader& reader, const TiffDirectory& directory, std::vector<TiffImage>& images) {
    const TiffEntry* const data = directory.find(kRw2DataOffset);
    const TiffEntry* const offsets = data == nullptr ? directory.find(tag::kStripOffsets) : data;
    const auto offset = reader.number(offsets);
    if (!offset) {
        return;
    }
    TiffImage found{
        .image = {}, .holds_sensor_data = true, .is_reduced = false, .directory = directory.extent.offset};
    Piece piece = piece_to_the_end(reader, *offsets, reader.base() + *offset);
    const TiffEntry* const lengths = directory.find(tag::kStripByteCounts);
    if (const auto length = reader.number(lengths); length && *length != 0) {
        piece.data.length = *length;
        piece.length_field = reader.number_field(*lengths, 0);
    }
    found.image.pieces.push_back(piece);
    Frame& frame = found.image.frame;
    frame.width = reader.number_or(directory, kRw2Width, 0);
    frame.height = reader.number_or(directory, kRw2Height, 0);
    frame.bits = reader.number_or(directory, kRw2Bits, 0);
    frame.compression = reader.number_or(directory, kRw2Compression, 0);
    frame.piece_width = frame.width;
    frame.piece_height = frame.height;
    frame.order = reader.order();
    images.push_back(std::move(found));
}

void add_jpeg_image(const TiffReader& reader, std::uint64_t directory, const Piece& piece,
                    std::vector<TiffImage>& images) {
    TiffImage found{.image = {}, .holds_sensor_data = false, .is_reduced = true, .directory = directory};
    Frame& frame = found.image.frame;
    found.image.pieces.push_back(piece);
    frame.coding = Coding::kLossyJpeg;
    frame.compression = compression::kOldJpeg;
    frame.samples = 3;
    frame.order = reader.order();
    if (const auto head = jpeg_of(reader, found.image)) {
        take_frame(frame, *head);
        frame.coding = head->is_lossless ? Coding::kLosslessJpeg : Coding::kLossyJpeg;
    }
    frame.piece_width = frame.width;
    frame.piece_height = frame.height;
    images.push_back(std::move(found));
}

/// The JPEG of an RW2, which is the value of an entry.
void add_rw2_jpeg(const TiffReader& reader, const TiffDirectory& directory, std::vector<TiffImage>& images) {
    const TiffEntry* const entry = directory.find(kRw2Jpeg);
    if (entry == nullptr || entry->is_inline) {
        return;
    }
    const NumberField count{.at = entry->at + 4, .size = 4, .order = reader.order(), .base = 0};
    add_jpeg_image(reader, directory.extent.offset,
                   {{entry->values, entry->count}, reader.long_field(entry->at + 8), count}, images);
}

} // namespace

void add_images(const TiffReader& reader, const TiffHeader& header, const TiffNode& node,
                std::vector<TiffImage>& images) {
    if (header.kind == TiffHeader::Kind::kRw2 && node.role == TiffNode::Role::kFirst) {
        add_rw2_raw(reader, node.directory, images);
        add_rw2_jpeg(reader, node.directory, images);
    } else {
        add_striped(reader, header, node, images);
    }
    add_jpeg(reader, node.directory, tag::kJpegOffset, tag::kJpegLength, images);
}

void add_jpeg(const TiffReader& reader, const TiffDirectory& directory, std::uint16_t offset_tag,
              std::uint16_t length_tag, std::vector<TiffImage>& images) {
    const TiffEntry* const offset_entry = directory.find(offset_tag);
    const TiffEntry* const length_entry = directory.find(length_tag);
    const auto offset = reader.number(offset_entry);
    const auto length = reader.number(length_entry);
    if (!offset || !length || *length == 0) {
        return;
    }
    add_jpeg_image(reader, directory.extent.offset,
                   {.data = {reader.base() + *offset, *length},
                    .offset_field = reader.offset_field(*offset_entry, 0),
                    .length_field = reader.number_field(*length_entry, 0)},
                   images);
}

std::uint64_t pixels_of(const Image& image) {
    return std::uint64_t{image.frame.width} * image.frame.height;
}

} // namespace raw_mend
