#include "ways/CodedPieces.h"

#include "locate/CodedRow.h"
#include "mend/StreamAreas.h"

namespace raw_mend {

namespace {

std::optional<CodedSample> read_coded_sample(const Sample& sample) {
    const Image& raw = sample.description.raw;
    if (raw.frame.coding != Coding::kLosslessJpeg) {
        return std::nullopt;
    }
    std::vector<ByteRange> ranges;
    for (const Piece& piece : raw.pieces) {
        ranges.push_back({piece.data.offset, piece.data.end()});
    }
    return CodedSample::read(sample.file, ranges);
}

} // namespace

std::optional<FoundImage> find_coded_pieces(Bytes damaged, const Sample& sample) {
    const auto coded = read_coded_sample(sample);
    if (!coded) {
        return std::nullopt;
    }
    const auto places = find_coded_streams(damaged, *coded);
    const CodedRow row = choose_row(damaged, places, *coded);
    FoundImage image{Way::kCodedHeads, {}, 0, row.doubts};
    for (const auto& piece : row.pieces) {
        if (piece && !piece->certain) {
            const auto areas = area_of_piece(sample.description.raw, image.pieces.size());
            image.doubtful.insert(image.doubtful.end(), areas.begin(), areas.end());
        }
        if (piece) {
            const CodedPlace& place = places[piece->place];
            image.pieces.emplace_back(Extent{place.offset, place.end - place.offset});
            image.proved += place.proved && piece->certain ? 1U : 0U;
        } else {
            image.pieces.emplace_back();
        }
    }
    return image.count_found() == 0 ? std::nullopt : std::optional(std::move(image));
}

} // namespace raw_mend
