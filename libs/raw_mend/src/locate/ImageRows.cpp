#include "locate/ImageRows.h"

namespace raw_mend {

namespace {

std::optional<Extent> one_range(const std::vector<Piece>& pieces) {
    if (pieces.empty()) {
        return std::nullopt;
    }
    Extent all = pieces.front().data;
    for (std::size_t nth = 1; nth < pieces.size(); ++nth) {
        if (pieces[nth].data.offset != all.end()) {
            return std::nullopt;
        }
        all.length += pieces[nth].data.length;
    }
    return all;
}

std::optional<Packing> packing_of(const Frame& frame, std::uint64_t row_bytes) {
    const std::uint64_t samples = std::uint64_t{frame.width} * frame.samples;
    if (frame.coding == Coding::kFixedRate) {
        return row_bytes == samples ? std::optional(Packing::kCells) : std::nullopt;
    }
    if (frame.bits == 8 && row_bytes == samples) {
        return Packing::kBytes;
    }
    if (frame.bits > 8 && frame.bits <= 16 && row_bytes == 2 * samples) {
        return frame.order == ByteOrder::kBig ? Packing::kBigWords : Packing::kLittleWords;
    }
    if (frame.bits > 8 && frame.bits < 16 && row_bytes == (samples * frame.bits + 7) / 8) {
        return Packing::kPackedHighFirst;
    }
    return std::nullopt;
}

} // namespace

std::optional<ImageRows> rows_of(const Image& image) {
    const Frame& frame = image.frame;
    const bool fixed = frame.coding == Coding::kUncompressed || frame.coding == Coding::kFixedRate;
    const auto range = one_range(image.pieces);
    if (!fixed || !range || frame.height == 0 || range->length % frame.height != 0 ||
        frame.piece_width != frame.width) {
        return std::nullopt;
    }
    const std::uint64_t row_bytes = range->length / frame.height;
    const auto packing = packing_of(frame, row_bytes);
    if (!packing) {
        return std::nullopt;
    }
    const unsigned bits = *packing == Packing::kCells ? 11 : frame.bits;
    const RowGeometry geometry{*packing,     bits,          row_bytes,
                               frame.height, frame.samples, frame.samples == 1 ? 2U : 1U};
    return geometry.supported() ? std::optional(ImageRows{*range, geometry}) : std::nullopt;
}

} // namespace raw_mend
