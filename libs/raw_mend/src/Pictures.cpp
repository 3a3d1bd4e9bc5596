#include "Pictures.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace raw_mend {

namespace {

constexpr unsigned kColours = 3;
constexpr std::array<unsigned char, 2> kJpegStart{0xFF, 0xD8};
constexpr std::array<unsigned char, 6> kExifHeader{'E', 'x', 'i', 'f', 0, 0};
constexpr std::size_t kSegmentHead = 4; // Marker and length.
constexpr unsigned char kMarker = 0xFF;
constexpr unsigned char kSos = 0xDA;
constexpr unsigned char kApp1 = 0xE1;

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

bool can_replace(const RawMendPicture& picture, Bytes data) {
    switch (picture.coding) {
    case RAW_MEND_PICTURE_JPEG:
        return data.size() >= kJpegStart.size() &&
               std::ranges::equal(data.first(kJpegStart.size()), kJpegStart);
    case RAW_MEND_PICTURE_RGB:
        return data.size() == picture.length;
    default:
        return false;
    }
}

/// Where the Exif segment of a JPEG ends, if there is one before its scan.
std::optional<std::size_t> end_of_exif(Bytes jpeg) {
    std::size_t at = kJpegStart.size();
    while (jpeg.size() - at >= kSegmentHead && jpeg[at] == kMarker && jpeg[at + 1] != kSos) {
        const std::size_t length = std::size_t{jpeg[at + 2]} << 8U | jpeg[at + 3];
        if (length > jpeg.size() - at - 2) {
            break;
        }
        const Bytes payload = jpeg.subspan(at + kSegmentHead, std::max<std::size_t>(length, 2) - 2);
        const bool is_exif = jpeg[at + 1] == kApp1 && payload.size() >= kExifHeader.size() &&
                             std::ranges::equal(payload.first(kExifHeader.size()), kExifHeader);
        at += 2 + length;
        if (is_exif) {
            return at;
        }
    }
    return std::nullopt;
}

/// The part of a picture that is replaced, and what replaces it: all of it, or what follows the Exif of a
/// JPEG if the new one has none.
Replacement replacement_of(Bytes file, const RawMendPicture& picture, Bytes data) {
    const Extent all{picture.offset, picture.length};
    if (picture.coding != RAW_MEND_PICTURE_JPEG || !can_replace(picture, all.of(file))) {
        return {all, data};
    }
    const auto kept = end_of_exif(all.of(file));
    if (!kept || *kept == all.length || end_of_exif(data)) {
        return {all, data};
    }
    return {{all.offset + *kept, all.length - *kept}, data.subspan(kJpegStart.size())};
}

bool is_inside(const RawMendPicture& inner, const RawMendPicture& outer) {
    return inner.offset >= outer.offset && inner.offset + inner.length <= outer.offset + outer.length;
}

/// By offset; of two at one offset, the longer first.
bool is_before(const RawMendPicture& a, const RawMendPicture& b) {
    return a.offset != b.offset ? a.offset < b.offset : a.length > b.length;
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

std::optional<std::vector<Replacement>> replacements_of(Bytes file, std::span<const RawMendPicture> pictures,
                                                        std::span<const RawMendPictureData> data) {
    if (pictures.size() != data.size()) {
        return std::nullopt;
    }
    std::vector<std::size_t> order(pictures.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::stable_sort(
        order, [&](std::size_t a, std::size_t b) { return is_before(pictures[a], pictures[b]); });
    std::vector<Replacement> replacements;
    const RawMendPicture* outer = nullptr; // The last picture that is inside no other one,
    Extent gone;                           // and what of it is replaced.
    for (const std::size_t index : order) {
        const RawMendPicture& picture = pictures[index];
        const bool is_nested = outer != nullptr && is_inside(picture, *outer);
        if (!is_nested) {
            outer = &picture;
            gone = {};
        }
        if (data[index].bytes == nullptr) {
            continue;
        }
        const Bytes bytes(data[index].bytes, static_cast<std::size_t>(data[index].length));
        if (picture.length == 0 || !can_replace(picture, bytes)) {
            return std::nullopt;
        }
        const bool is_gone = picture.offset < gone.end() && picture.offset + picture.length > gone.offset;
        if (is_nested && (is_gone || bytes.size() > picture.length)) {
            continue;
        }
        replacements.push_back(replacement_of(file, picture, bytes));
        if (!is_nested) {
            gone = replacements.back().extent;
        }
    }
    return replacements;
}

} // namespace raw_mend
