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

/// The rows of all pieces, one after another. Tiles are as if they were one below the other.
std::uint64_t count_rows(const Image& image) {
    const Frame& frame = image.frame;
    return frame.piece_width == frame.width ? frame.height
                                            : std::uint64_t{frame.piece_height} * image.pieces.size();
}

std::optional<Packing> packing_of(const Frame& frame, std::uint64_t row_bytes) {
    const std::uint64_t samples = std::uint64_t{frame.piece_width} * frame.samples;
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
    const std::uint64_t rows = count_rows(image);
    if (!fixed || !range || rows == 0 || range->length % rows != 0) {
        return std::nullopt;
    }
    const std::uint64_t row_bytes = range->length / rows;
    const auto packing = packing_of(frame, row_bytes);
    if (!packing) {
        return std::nullopt;
    }
    const unsigned bits = *packing == Packing::kCells ? 11 : frame.bits;
    const RowGeometry geometry{*packing, bits, row_bytes, rows, frame.samples, frame.samples == 1 ? 2U : 1U};
    return geometry.supported() ? std::optional(ImageRows{*range, geometry}) : std::nullopt;
}

} // namespace raw_mend
