#include "Pictures.h"

#include <algorithm>

namespace raw_mend {

namespace {

constexpr unsigned kColours = 3;

/// The strips of a picture, if they follow each other.
std::optional<Extent> whole_extent(const Image& picture) {
    Extent extent = picture.pieces[0].data;
    for (const Piece& piece : std::span(picture.pieces).subspan(1)) {
        if (piece.data.offset != extent.end()) {
            return std::nullopt;
        }
        extent.length += piece.data.length;
    }
    return extent;
}

std::uint32_t coding_of(const Image& picture, const std::optional<Extent>& extent) {
    const Frame& frame = picture.frame;
    if (!extent) {
        return RAW_MEND_PICTURE_OTHER;
    }
    if (frame.coding == Coding::kLossyJpeg && picture.pieces.size() == 1) {
        return RAW_MEND_PICTURE_JPEG;
    }
    const bool is_rgb = frame.coding == Coding::kUncompressed && frame.samples == kColours &&
                        frame.bits == 8 && frame.width != 0 && extent->length % kColours == 0 &&
                        extent->length / kColours == std::uint64_t{frame.width} * frame.height;
    return is_rgb ? RAW_MEND_PICTURE_RGB : RAW_MEND_PICTURE_OTHER;
}

RawMendPicture picture_of(const Image& image) {
    const auto extent = whole_extent(image);
    RawMendPicture picture{};
    picture.width = image.frame.width;
    picture.height = image.frame.height;
    picture.coding = coding_of(image, extent);
    picture.offset = image.pieces[0].data.offset;
    picture.length = extent ? extent->length : image.pieces[0].data.length;
    return picture;
}

} // namespace

std::vector<RawMendPicture> list_pictures(Bytes file, const Description& description) {
    std::vector<RawMendPicture> pictures;
    for (const Image& image : description.pictures) {
        const bool is_within =
            std::ranges::all_of(image.pieces, [&](const Piece& piece) { return piece.data.is_within(file); });
        if (!image.pieces.empty() && is_within) {
            pictures.push_back(picture_of(image));
        }
    }
    return pictures;
}

} // namespace raw_mend
