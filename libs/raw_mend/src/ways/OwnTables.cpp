#include "ways/OwnTables.h"

#include "container/Describe.h"
#include "ways/CrxTracks.h"
#include "ways/FujiStream.h"

#include <lossless_jpeg/Stream.h>

#include <algorithm>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::size_t kSignature = 8;
constexpr unsigned kMostHeaders = 32; // Previews begin with headers of their own, one each.

/// Where the sample's first bytes are, from an offset on; the size of the file if they are not there.
std::size_t find_header(Bytes damaged, const Sample& sample, std::size_t from) {
    const Bytes signature = sample.file.first(std::min<std::size_t>(sample.file.size(), kSignature));
    const auto found = std::search(damaged.begin() + static_cast<std::ptrdiff_t>(from), damaged.end(),
                                   signature.begin(), signature.end());
    return static_cast<std::size_t>(found - damaged.begin());
}

bool is_whole_stream(Bytes file, const Extent& extent) {
    const Bytes stream = file.first(static_cast<std::size_t>(extent.end()));
    const auto head = lossless_jpeg::read_head(stream, extent.offset);
    return head && lossless_jpeg::check(stream, *head).is_complete();
}

bool is_proved(Bytes file, const Description& own, const Sample& sample) {
    const Image& image = own.raw;
    const bool inside =
        std::ranges::all_of(image.pieces, [&](const Piece& piece) { return piece.data.is_within(file); });
    if (!inside) {
        return false;
    }
    if (image.frame.coding == Coding::kLosslessJpeg) {
        return std::ranges::all_of(image.pieces,
                                   [&](const Piece& piece) { return is_whole_stream(file, piece.data); });
    }
    if (image.frame.coding == Coding::kCrx) {
        return has_whole_crx_tracks(file, own, sample);
    }
    if (image.frame.coding == Coding::kFujiLossless) {
        return has_whole_fuji_stream(file, own, sample);
    }
    const auto rows = rows_of(image);
    return rows && sample.rows &&
           find_row_phase(rows->extent.of(file), rows->geometry, sample.traits).phase == 0U;
}

} // namespace

std::optional<OwnStructure> find_own_structure(Bytes damaged, const Sample& sample) {
    const Image& raw = sample.description.raw;
    std::size_t offset = 0;
    for (unsigned count = 0; count < kMostHeaders; ++count, ++offset) {
        offset = find_header(damaged, sample, offset);
        if (offset == damaged.size()) {
            break;
        }
        const Bytes file = damaged.subspan(offset);
        auto own = describe(file);
        if (own && own->raw.frame == raw.frame && own->raw.pieces.size() == raw.pieces.size() &&
            is_proved(file, *own, sample)) {
            const auto end = end_of_boxes(*own, sample);
            return OwnStructure{offset, std::min<std::uint64_t>(end.value_or(file.size()), file.size()),
                                std::move(*own)};
        }
    }
    return std::nullopt;
}

} // namespace raw_mend
