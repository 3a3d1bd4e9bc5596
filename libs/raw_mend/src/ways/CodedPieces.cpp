#include "ways/CodedPieces.h"

#include "locate/CodedRow.h"
#include "mend/StreamAreas.h"
#include "ways/Displacements.h"
#include "ways/OwnTables.h"
#include "ways/TileSeams.h"

#include <algorithm>
#include <utility>
#include <vector>

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

FoundImage take_row(const CodedRow& row, const std::vector<CodedPlace>& places, const Image& raw) {
    FoundImage image{Way::kCodedHeads, {}, 0, row.doubts};
    for (const auto& piece : row.pieces) {
        if (piece && !piece->certain) {
            const auto areas = area_of_piece(raw, image.pieces.size());
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
    return image;
}

/// Foreign bytes may hold the head of another photograph.
std::vector<Extent> find_rivals(const CodedRow& row, const std::vector<CodedPlace>& places) {
    constexpr std::size_t kMostRivals = 3;
    std::vector<Extent> rivals;
    if (row.pieces.size() != 1 || !row.pieces.front() || places[row.pieces.front()->place].proved) {
        return rivals;
    }
    const std::uint64_t end = std::ranges::max(places, {}, &CodedPlace::end).end;
    for (const std::size_t nth : row.unused) {
        if (rivals.size() < kMostRivals) {
            rivals.push_back({places[nth].offset, end - places[nth].offset});
        }
    }
    return rivals;
}

/// The structure of each piece, in the order of the container's lists.
std::vector<std::size_t> structures_of(const CodedSample& sample) {
    std::vector<std::size_t> structures(sample.count());
    for (std::size_t nth = 0; nth < sample.count(); ++nth) {
        structures[sample.pieces()[nth]] = sample.structure_at(nth);
    }
    return structures;
}

/// The places of the pieces that a file's own tables name.
class NamedPieces {
  public:
    NamedPieces(const std::vector<Extent>& named, std::uint64_t file_size,
                const std::vector<CodedPlace>& places, const CodedRow& row, const CodedSample& sample)
        : named_(named), file_size_(file_size), places_(places), row_(row), sample_(sample),
          structures_(structures_of(sample)), displacements_(find_displacements(named, places)),
          chosen_(named.size()) {}

    FoundImage take() {
        for (std::size_t piece = 0; piece < named_.size(); ++piece) {
            chosen_[piece] = find_certain(piece);
        }
        FoundImage image{Way::kCodedHeads, {}, 0, {}};
        for (std::size_t piece = 0; piece < named_.size(); ++piece) {
            chosen_[piece] = chosen_[piece] != nullptr ? chosen_[piece] : find_broken(piece);
            image.pieces.push_back(extent_of(piece));
            image.proved += chosen_[piece] != nullptr && chosen_[piece]->proved ? 1U : 0U;
        }
        return image;
    }

  private:
    /// A stream exactly where the tables name the piece: no other begins there by chance. Else one that is
    /// displaced as other streams are. Else that of the row if it is whole and as long as they say, which
    /// makes its index certain. One of another length is another photograph's.
    [[nodiscard]] const CodedPlace* find_certain(std::size_t piece) const {
        if (const CodedPlace* const there = find_at(named_[piece].offset, piece)) {
            return there;
        }
        if (const CodedPlace* const displaced = find_displaced(piece)) {
            return displaced;
        }
        const CodedPlace* const place = in_row(piece);
        return place != nullptr && place->proved && fits(*place, piece) ? place : nullptr;
    }

    [[nodiscard]] const CodedPlace* find_at(std::uint64_t offset, std::size_t piece) const {
        const auto there = std::ranges::lower_bound(places_, offset, {}, &CodedPlace::offset);
        return there != places_.end() && there->offset == offset && fits(*there, piece) ? &*there : nullptr;
    }

    /// The first that is whole; the first of all if none is.
    [[nodiscard]] const CodedPlace* find_displaced(std::size_t piece) const {
        const CodedPlace* found = nullptr;
        for (const std::uint64_t displacement : displacements_) {
            const CodedPlace* const there = find_at(named_[piece].offset + displacement, piece);
            if (there != nullptr && (found == nullptr || (there->proved && !found->proved))) {
                found = there;
            }
        }
        return found;
    }

    /// A broken stream of the row that is as far from the nearest piece as the tables say.
    [[nodiscard]] const CodedPlace* find_broken(std::size_t piece) const {
        const CodedPlace* const place = in_row(piece);
        if (place == nullptr || place->proved || !fits(*place, piece)) {
            return nullptr;
        }
        std::size_t nearest = piece;
        while (nearest > 0 && chosen_[nearest] == nullptr) {
            --nearest;
        }
        while (nearest + 1 < named_.size() && chosen_[nearest] == nullptr) {
            ++nearest;
        }
        // Differences may be negative; they are compared modulo 2^64.
        const bool is_there =
            chosen_[nearest] != nullptr &&
            place->offset - chosen_[nearest]->offset == named_[piece].offset - named_[nearest].offset;
        return is_there ? place : nullptr;
    }

    [[nodiscard]] const CodedPlace* in_row(std::size_t piece) const {
        const auto& position = row_.pieces[piece];
        return position ? &places_[position->place] : nullptr;
    }

    [[nodiscard]] bool fits(const CodedPlace& place, std::size_t piece) const {
        const std::uint64_t length = place.end - place.offset;
        const std::uint64_t named = named_[piece].length;
        const bool is_as_long = length <= named && named - length <= sample_.spacing().most_padding();
        const bool has_room = named > place.data - place.offset;
        return place.structure == structures_[piece] && (place.proved ? is_as_long : has_room);
    }

    /// A broken stream extends as far as the tables say.
    [[nodiscard]] std::optional<Extent> extent_of(std::size_t piece) const {
        const CodedPlace* const place = chosen_[piece];
        if (place == nullptr) {
            return std::nullopt;
        }
        const bool is_named = !place->proved && place->offset == named_[piece].offset;
        const std::uint64_t end = is_named ? std::min(named_[piece].end(), file_size_) : place->end;
        return Extent{place->offset, end - place->offset};
    }

    const std::vector<Extent>& named_;
    std::uint64_t file_size_;
    const std::vector<CodedPlace>& places_;
    const CodedRow& row_;
    const CodedSample& sample_;
    std::vector<std::size_t> structures_;
    std::vector<std::uint64_t> displacements_;
    std::vector<const CodedPlace*> chosen_; // By piece; null: not found.
};

/// The image that the file's own tables describe, if most of its streams are as long as they say: of several,
/// that with the most such. Nothing if another may be meant, since there are many more streams; and nothing
/// for one piece, which may be named by a foreign head.
std::optional<FoundImage> find_named_pieces(Bytes damaged, const Sample& sample, const CodedSample& coded,
                                            const std::vector<CodedPlace>& places, const CodedRow& row) {
    std::optional<FoundImage> most;
    if (coded.count() == 1) {
        return most;
    }
    for (const OwnStructure& own : find_named_images(damaged, sample)) {
        const auto named = own.pieces();
        FoundImage image = NamedPieces(named, damaged.size(), places, row, coded).take();
        if (!most || image.proved > most->proved) {
            most = std::move(image);
        }
    }
    const auto whole = static_cast<std::size_t>(std::ranges::count_if(places, &CodedPlace::proved));
    const bool is_clear =
        most && 2 * most->proved > coded.count() && 2 * (whole - most->proved) < coded.count();
    return is_clear ? std::move(most) : std::nullopt;
}

} // namespace

std::optional<FoundImage> find_coded_pieces(Bytes damaged, const Sample& sample) {
    const auto coded = read_coded_sample(sample);
    if (!coded) {
        return std::nullopt;
    }
    const auto places = find_coded_streams(damaged, *coded);
    CodedRow row = choose_row(damaged, places, *coded);
    place_by_seams(row, damaged, places, *coded, sample.description.raw);
    FoundImage image = take_row(row, places, sample.description.raw);
    image.rivals = find_rivals(row, places);
    if (image.proved < coded->count()) {
        if (auto named = find_named_pieces(damaged, sample, *coded, places, row)) {
            image = std::move(*named);
        }
    }
    return image.count_found() == 0 ? std::nullopt : std::optional(std::move(image));
}

} // namespace raw_mend
