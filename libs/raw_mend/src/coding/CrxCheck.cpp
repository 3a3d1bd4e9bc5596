#include "coding/CrxCheck.h"

#include "coding/CrxPlane.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>

namespace raw_mend {

namespace {

constexpr unsigned kOldHeader = 12;           // Bytes. Larger ones are those of other codings.
constexpr std::uint64_t kSamplesPerByte = 64; // More are hardly a photograph.
constexpr std::uint64_t kMostWidth = 65536;
constexpr unsigned kPlaneFlags = 0x0E;
constexpr unsigned kPredictedFromAbove = 0x08;
constexpr unsigned kFiller = 0x7FFFF; // Of the word in a band's header: bytes after the coded ones.

std::uint64_t divide_up(std::uint64_t number, std::uint64_t by) {
    return (number + by - 1) / by;
}

/// The planes of all tiles, one after another.
class PlaneSizes {
  public:
    explicit PlaneSizes(const CrxFrame& frame) : frame_(frame) {}

    [[nodiscard]] bool are_known(std::size_t headers) const {
        const bool sizes = frame_.tile_width != 0 && frame_.tile_height != 0 && frame_.width != 0 &&
                           frame_.width <= kMostWidth && frame_.height != 0 && frame_.bits >= 8 &&
                           frame_.bits <= 16;
        const bool planes = frame_.planes == 1 || frame_.planes == 4;
        return sizes && planes && frame_.levels == 0 && headers == tiles() * (1 + 2 * frame_.planes);
    }

    [[nodiscard]] std::uint64_t samples() const { return frame_.width * frame_.height; }

    [[nodiscard]] CrxPlaneSize of(std::uint64_t tile) const {
        const std::uint64_t column = tile % columns();
        const std::uint64_t row = tile / columns();
        const std::uint64_t step = frame_.planes == 4 ? 2 : 1;
        const auto rest = [](std::uint64_t all, std::uint64_t before) { return all - std::min(all, before); };
        return {std::min(frame_.tile_width, rest(frame_.width, column * frame_.tile_width)) / step,
                std::min(frame_.tile_height, rest(frame_.height, row * frame_.tile_height)) / step,
                frame_.bits};
    }

  private:
    [[nodiscard]] std::uint64_t columns() const { return divide_up(frame_.width, frame_.tile_width); }
    [[nodiscard]] std::uint64_t tiles() const {
        return columns() * divide_up(frame_.height, frame_.tile_height);
    }

    const CrxFrame& frame_;
};

} // namespace

CrxDecoding check_crx(Bytes file, const Extent& data, const CrxLayout& layout) {
    const PlaneSizes sizes(layout.frame);
    const auto heads = read_crx_heads(file, data.offset, layout.heads);
    if (!heads || !heads->lengths_agree || !data.is_within(file) || layout.length(*heads) != data.length) {
        return CrxDecoding::kBroken;
    }
    if (!sizes.are_known(heads->headers.size()) || sizes.samples() / kSamplesPerByte > data.length) {
        return CrxDecoding::kUnknown;
    }
    const byte_reader::ByteReader reader(file, std::endian::big);
    std::uint64_t at = data.offset + layout.header_size;
    std::uint64_t tiles = 0;
    for (const CrxHeader& header : heads->headers) {
        const std::uint32_t word = reader.u32(header.offset + 8).value_or(0);
        if (header.size != kOldHeader) {
            return CrxDecoding::kUnknown;
        }
        if (header.kind == CrxHeader::Kind::kTile) {
            ++tiles;
        } else if (header.kind == CrxHeader::Kind::kPlane) {
            if ((word >> 24U & kPlaneFlags) != kPredictedFromAbove) {
                return CrxDecoding::kUnknown;
            }
        } else {
            const Extent band{at, header.length - std::min<std::uint64_t>(header.length, word & kFiller)};
            const CrxPlaneSize size = sizes.of(tiles - 1);
            if (size.width < 2 || !crx_plane_decodes(band.of(file), size)) {
                return CrxDecoding::kBroken;
            }
            at += header.length;
        }
    }
    return CrxDecoding::kComplete;
}

} // namespace raw_mend
