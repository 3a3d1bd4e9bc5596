#include "container/Tiff.h"

#include "container/MakerNotes.h"
#include "container/TiffTags.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace raw_mend {

namespace {

/// The first text with a tag, in the order in which the directories were read.
std::string first_text(const TiffReader& reader, const std::vector<TiffNode>& nodes, std::uint16_t text_tag) {
    for (const TiffNode& node : nodes) {
        if (std::string text = reader.text(node.directory.find(text_tag)); !text.empty()) {
            return text;
        }
    }
    return {};
}

/// The block that Sony's directory names. It is encrypted, and of no use to images.
void add_private_blocks(const TiffReader& reader, const std::vector<TiffNode>& nodes) {
    constexpr std::uint16_t kBlockOffset = 0x7200;
    constexpr std::uint16_t kBlockLength = 0x7201;
    for (const TiffNode& node : nodes) {
        if (node.role == TiffNode::Role::kPrivate) {
            const std::uint32_t offset = reader.number_or(node.directory, kBlockOffset, 0);
            const std::uint32_t length = reader.number_or(node.directory, kBlockLength, 0);
            if (offset != 0) {
                reader.inventory().add_reference({reader.base() + offset, length},
                                                 reader.offset_field(*node.directory.find(kBlockOffset), 0));
            }
        }
    }
}

/// Reads all maker notes. What one states counts before what a later one does.
MakerNotes read_all_notes(const TiffReader& reader, const std::vector<TiffNode>& nodes,
                          const std::string& make) {
    MakerNotes all;
    for (const TiffNode& node : nodes) {
        if (node.role != TiffNode::Role::kExif) {
            continue;
        }
        const MakerNotes notes = read_maker_notes(reader, node.directory, make);
        all.pictures.insert(all.pictures.end(), notes.pictures.begin(), notes.pictures.end());
        all.curve = all.curve ? all.curve : notes.curve;
        if (all.sensor_width == 0) {
            all.sensor_width = notes.sensor_width;
            all.sensor_height = notes.sensor_height;
        }
    }
    return all;
}

void add_notes(const MakerNotes& notes, std::vector<TiffImage>& images) {
    for (TiffImage& found : images) {
        Frame& frame = found.image.frame;
        if (!found.holds_sensor_data) {
            continue;
        }
        if (frame.width == 0 || frame.height == 0) {
            frame.width = frame.piece_width = notes.sensor_width;
            frame.height = frame.piece_height = notes.sensor_height;
        }
        if (frame.coding == Coding::kHuffman || frame.coding == Coding::kOther) {
            found.image.parameters = notes.curve;
        }
    }
    images.insert(images.end(), notes.pictures.begin(), notes.pictures.end());
}

/// Where no directory says that it holds a sensor's data: one sample of more than 8 bits per pixel.
void guess_sensor_data(std::vector<TiffImage>& images, Inventory& inventory) {
    if (std::ranges::any_of(images, &TiffImage::holds_sensor_data)) {
        return;
    }
    for (TiffImage& found : images) {
        found.holds_sensor_data = found.image.frame.samples == 1 && found.image.frame.bits > 8;
        if (found.holds_sensor_data) {
            inventory.add_sentence("No directory says that it holds a sensor's data; the one at offset " +
                                   std::to_string(found.directory) +
                                   " is taken for it, having one sample per pixel.");
        }
    }
}

/// Its place among the images; their number if there is none.
std::size_t find_raw(const std::vector<TiffImage>& images) {
    const auto rank = [](const TiffImage& found) {
        return std::tuple(found.holds_sensor_data, pixels_of(found.image), !found.is_reduced,
                          data_length(found.image));
    };
    const auto best = std::ranges::max_element(images, {}, rank);
    return best != images.end() && best->holds_sensor_data ? static_cast<std::size_t>(best - images.begin())
                                                           : images.size();
}

/// Compares the number of pieces with the geometry.
void check_pieces(const TiffImage& raw, Inventory& inventory) {
    const Frame& frame = raw.image.frame;
    if (frame.piece_width == 0 || frame.piece_height == 0) {
        return;
    }
    const auto parts = [](std::uint64_t whole, std::uint64_t part) { return (whole + part - 1) / part; };
    const std::uint64_t expected =
        parts(frame.width, frame.piece_width) * parts(frame.height, frame.piece_height);
    const std::uint64_t pieces = raw.image.pieces.size();
    if (pieces != expected && pieces != expected * frame.samples) {
        inventory.add_sentence("The raw image has " + std::to_string(pieces) +
                               " strips or tiles; its size needs " + std::to_string(expected) + ".");
    }
}

} // namespace

std::optional<TiffContents> read_tiff(Inventory& inventory, std::uint64_t offset) {
    const auto header = read_tiff_header(inventory.bytes(), offset);
    if (!header) {
        return std::nullopt;
    }
    TiffContents contents{.header = *header, .images = {}, .make = {}, .model = {}};
    const TiffReader reader(inventory, header->order, offset);
    const auto nodes = read_tiff_tree(reader, *header);
    contents.make = first_text(reader, nodes, tag::kMake);
    contents.model = first_text(reader, nodes, tag::kModel);
    if (contents.model.empty()) {
        contents.model = first_text(reader, nodes, tag::kUniqueCameraModel);
    }
    add_private_blocks(reader, nodes);
    for (const TiffNode& node : nodes) {
        add_images(reader, *header, node, contents.images);
    }
    add_notes(read_all_notes(reader, nodes, contents.make), contents.images);
    return contents;
}

std::optional<Description> describe_tiff(Bytes bytes) {
    Inventory inventory(bytes);
    auto contents = read_tiff(inventory, 0);
    if (!contents) {
        return std::nullopt;
    }
    Description description;
    description.container = Description::Container::kTiff;
    description.order = contents->header.order;
    description.make = std::move(contents->make);
    description.model = std::move(contents->model);
    guess_sensor_data(contents->images, inventory);
    const std::size_t raw = find_raw(contents->images);
    if (raw == contents->images.size()) {
        inventory.add_sentence("No directory in the file describes a raw image.");
    } else {
        check_pieces(contents->images[raw], inventory);
        description.raw = std::move(contents->images[raw].image);
    }
    for (std::size_t index = 0; index < contents->images.size(); ++index) {
        if (index != raw) {
            description.pictures.push_back(std::move(contents->images[index].image));
        }
    }
    sort_pictures(description.pictures);
    inventory.finish(description);
    return description;
}

void sort_pictures(std::vector<Image>& pictures) {
    const auto place = [](const Image& picture) {
        return std::tuple(pixels_of(picture), data_length(picture), picture.pieces.front().data.offset);
    };
    std::ranges::stable_sort(pictures, [&](const Image& a, const Image& b) { return place(a) > place(b); });
    const auto end = std::unique(pictures.begin(), pictures.end(),
                                 [&](const Image& a, const Image& b) { return place(a) == place(b); });
    pictures.erase(end, pictures.end());
}

} // namespace raw_mend
