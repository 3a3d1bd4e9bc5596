#include "container/Raf.h"

#include "container/JpegHead.h"
#include "container/Tiff.h"

#include <algorithm>
#include <string>
#include <utility>

namespace raw_mend {

namespace {

using byte_reader::ByteReader;

// The header, numbers high byte first:
//
//   0    "FUJIFILMCCD-RAW "
//   28   model, 32 bytes
//   84   offset and length of the JPEG, of the CFA header, of the CFA data
//   120  offset and length of the second CFA header, of the second CFA data; not in all files
constexpr std::uint64_t kModel = 28;
constexpr std::uint64_t kModelSize = 32;
constexpr std::uint64_t kJpeg = 84;
constexpr std::uint64_t kCfaHeader = 92;
constexpr std::uint64_t kCfaData = 100;
constexpr std::uint64_t kSecondCfaHeader = 120;
constexpr std::uint64_t kSecondCfaData = 128;
constexpr std::uint64_t kHeaderSize = 108;
constexpr std::uint64_t kLongHeaderSize = 136;

// Tags of the directory in the CFA data.
constexpr std::uint16_t kRawIfd = 0xF000;
constexpr std::uint16_t kRawWidth = 0xF001;
constexpr std::uint16_t kRawHeight = 0xF002;
constexpr std::uint16_t kRawBits = 0xF003;
constexpr std::uint16_t kStripOffsets = 0xF007;
constexpr std::uint16_t kStripByteCounts = 0xF008;

constexpr std::uint16_t kSensorSize = 0x0100; // In the CFA header: height, then width.

/// Two numbers of the header.
std::optional<Piece> range_at(const ByteReader& reader, std::uint64_t at) {
    const auto offset = reader.u32(at);
    const auto length = reader.u32(at + 4);
    if (!offset || !length || *offset == 0 || *length == 0) {
        return std::nullopt;
    }
    return Piece{.data = {*offset, *length},
                 .offset_field = NumberField{.at = at, .size = 4, .order = ByteOrder::kBig, .base = 0},
                 .length_field = NumberField{.at = at + 4, .size = 4, .order = ByteOrder::kBig, .base = 0}};
}

struct SensorSize {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// A count, then tag, length and value of each.
SensorSize read_cfa_header(const ByteReader& reader, const Extent& header) {
    const std::uint32_t count = reader.u32(header.offset).value_or(0);
    std::uint64_t at = header.offset + 4;
    for (std::uint32_t index = 0; index < count && at + 8 <= header.end(); ++index) {
        const auto length = reader.u16(at + 2);
        if (!length) {
            break;
        }
        if (reader.u16(at) == kSensorSize && *length >= 4) {
            return {.width = reader.u16(at + 6).value_or(0), .height = reader.u16(at + 4).value_or(0)};
        }
        at += 4 + std::uint64_t{*length};
    }
    return {};
}

/// The strips of the directory in the CFA data.
Image read_directory(const TiffReader& reader, const TiffDirectory& directory) {
    Image image;
    Frame& frame = image.frame;
    frame.width = reader.number_or(directory, kRawWidth, 0);
    frame.height = reader.number_or(directory, kRawHeight, 0);
    frame.bits = reader.number_or(directory, kRawBits, 0);
    frame.order = reader.order();
    const TiffEntry* const offsets_entry = directory.find(kStripOffsets);
    const TiffEntry* const lengths_entry = directory.find(kStripByteCounts);
    const auto offsets = reader.numbers(offsets_entry);
    const auto lengths = reader.numbers(lengths_entry);
    for (std::size_t index = 0; index < std::min(offsets.size(), lengths.size()); ++index) {
        image.pieces.push_back({.data = {reader.base() + offsets[index], lengths[index]},
                                .offset_field = reader.offset_field(*offsets_entry, index),
                                .length_field = reader.number_field(*lengths_entry, index)});
    }
    const std::uint64_t size = reader.inventory().size();
    if (lengths_entry == nullptr && offsets.size() == 1) {
        const std::uint64_t offset = reader.base() + offsets.front();
        image.pieces.push_back({.data = {offset, offset < size ? size - offset : 0},
                                .offset_field = reader.offset_field(*offsets_entry, 0),
                                .length_field = {}});
    }
    return image;
}

/// The raw directory of the TIFF structure at the start of the CFA data; nothing if there is none.
std::optional<Image> read_cfa_tiff(Inventory& inventory, std::uint64_t offset) {
    const auto header = read_tiff_header(inventory.bytes(), offset);
    if (!header) {
        return std::nullopt;
    }
    inventory.add_table({offset, header->length});
    const TiffReader reader(inventory, header->order, offset);
    const auto first = reader.read_directory(header->first_directory);
    if (!first) {
        return Image{};
    }
    inventory.add_reference(first->extent, reader.long_field(offset + 4));
    const TiffEntry* const pointer = first->find(kRawIfd);
    const auto number = reader.number(pointer);
    const auto directory = number ? reader.read_directory(offset + *number) : std::nullopt;
    if (!directory) {
        return Image{};
    }
    inventory.add_reference(directory->extent, reader.offset_field(*pointer, 0));
    return read_directory(reader, *directory);
}

/// Compressed data have a head of their own. Without it, their length is the sign.
bool is_compressed(Bytes bytes, const Image& image) {
    const ByteReader reader(bytes, std::endian::big);
    const Frame& frame = image.frame;
    const std::uint64_t data = image.pieces.front().data.offset;
    if (reader.holds(data, 2)) {
        return reader.has(data, "IS");
    }
    return data_length(image) * 8 < std::uint64_t{frame.width} * frame.height * frame.bits;
}

void complete_frame(Bytes bytes, const SensorSize& sensor, Image& image) {
    Frame& frame = image.frame;
    if (frame.width == 0 || frame.height == 0) {
        frame.width = sensor.width;
        frame.height = sensor.height;
    }
    frame.coding = is_compressed(bytes, image) ? Coding::kFujiLossless : Coding::kUncompressed;
    const std::uint64_t pixels = pixels_of(image);
    const std::uint64_t bits = data_length(image) * 8;
    if (frame.bits == 0 && pixels != 0 && bits % pixels == 0 && bits / pixels >= 8 && bits / pixels <= 16) {
        frame.bits = static_cast<unsigned>(bits / pixels);
    }
    frame.piece_width = frame.width;
    frame.piece_height = frame.height;
}

/// One of the two sets of CFA header and CFA data.
std::optional<Image> read_cfa(Inventory& inventory, std::uint64_t header_at, std::uint64_t data_at,
                              Description& description) {
    const ByteReader reader(inventory.bytes(), std::endian::big);
    const auto data = range_at(reader, data_at);
    if (!data) {
        return std::nullopt;
    }
    SensorSize sensor;
    if (const auto header = range_at(reader, header_at)) {
        inventory.add_reference(header->data, *header->offset_field);
        sensor = read_cfa_header(reader, header->data);
    }
    auto image = read_cfa_tiff(inventory, data->data.offset);
    if (image) {
        description.enclosing.push_back(*data);
    } else {
        image =
            Image{.frame = {.order = ByteOrder::kLittle}, .pieces = {*data}, .parameters = {}, .slices = {}};
    }
    if (image->pieces.empty() || data_length(*image) == 0) {
        inventory.add_sentence("The CFA data at offset " + std::to_string(data->data.offset) +
                               " have no directory that says where the image is.");
        return std::nullopt;
    }
    complete_frame(inventory.bytes(), sensor, *image);
    return image;
}

/// The JPEG, and the thumbnail in its Exif.
void add_jpegs(Inventory& inventory, const Piece& jpeg, Description& description) {
    constexpr std::uint64_t kExif = 6; // After SOI, marker and length of APP1.
    const ByteReader reader(inventory.bytes(), std::endian::big);
    Image picture{.frame = {.samples = 3, .coding = Coding::kLossyJpeg},
                  .pieces = {jpeg},
                  .parameters = {},
                  .slices = {}};
    if (const auto head = read_jpeg_head(inventory.bytes(), jpeg.data)) {
        picture.frame.width = picture.frame.piece_width = head->width;
        picture.frame.height = picture.frame.piece_height = head->height;
        picture.frame.bits = head->bits;
        picture.frame.samples = head->components;
    }
    picture.frame.order = ByteOrder::kBig;
    description.pictures.push_back(std::move(picture));
    if (!reader.has(jpeg.data.offset + kExif, "Exif")) {
        return;
    }
    auto exif = read_tiff(inventory, jpeg.data.offset + kExif + 6);
    if (!exif) {
        return;
    }
    description.make = std::move(exif->make);
    if (description.model.empty()) {
        description.model = std::move(exif->model);
    }
    for (TiffImage& found : exif->images) {
        description.pictures.push_back(std::move(found.image));
    }
}

void choose_raw(std::vector<Image> images, Inventory& inventory, Description& description) {
    if (images.empty()) {
        inventory.add_sentence("The header names no CFA data.");
        return;
    }
    const auto most = std::ranges::max_element(images, {}, pixels_of);
    description.raw = std::move(*most);
    images.erase(most);
    std::ranges::move(images, std::back_inserter(description.pictures));
}

} // namespace

std::optional<Description> describe_raf(Bytes bytes) {
    const ByteReader reader(bytes, std::endian::big);
    if (!reader.has(0, "FUJIFILMCCD-RAW ")) {
        return std::nullopt;
    }
    Inventory inventory(bytes);
    Description description;
    description.container = Description::Container::kRaf;
    description.order = ByteOrder::kBig;
    if (reader.holds(kModel, kModelSize)) {
        const auto model = bytes.subspan(kModel, kModelSize);
        description.model = trimmed({model.begin(), model.end()});
    }
    const auto jpeg = range_at(reader, kJpeg);
    // Short headers end where the JPEG begins.
    const bool is_long = !jpeg || jpeg->data.offset >= kLongHeaderSize;
    inventory.add_table({0, jpeg && jpeg->data.offset <= 4096 ? jpeg->data.offset : kHeaderSize});
    if (jpeg) {
        add_jpegs(inventory, *jpeg, description);
    }
    std::vector<Image> images;
    if (auto image = read_cfa(inventory, kCfaHeader, kCfaData, description)) {
        images.push_back(std::move(*image));
    }
    if (is_long) {
        if (auto image = read_cfa(inventory, kSecondCfaHeader, kSecondCfaData, description)) {
            images.push_back(std::move(*image));
        }
    }
    choose_raw(std::move(images), inventory, description);
    sort_pictures(description.pictures);
    inventory.finish(description);
    return description;
}

} // namespace raw_mend
