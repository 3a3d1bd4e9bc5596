#include "ways/CrxTracks.h"

#include "coding/BlankData.h"
#include "coding/CrxCheck.h"
#include "ways/CrxChoice.h"
#include "ways/CrxNeighbours.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace raw_mend {

namespace {

class TrackSearch {
  public:
    TrackSearch(Bytes damaged, const Sample& sample, const MediaRow& row)
        : sample_(sample.file), damaged_(damaged), row_(row),
          places_(damaged, row), image_{
                                     Way::kCodedHeads,
                                     std::vector<std::optional<Extent>>(sample.description.raw.pieces.size()),
                                     0,
                                     {}} {}

    std::optional<FoundImage> run() {
        for (std::size_t item = 0; item < row_.items().size(); ++item) {
            if (row_.items()[item].raw_piece) {
                add_raw(item);
            }
        }
        // In a burst, nothing says which neighbours belong to which shot.
        if (image_.pieces.size() == 1) {
            add_others();
        }
        const bool found = image_.count_found() != 0 || !image_.others.empty();
        return found ? std::optional(std::move(image_)) : std::nullopt;
    }

  private:
    void add_raw(std::size_t item) {
        CrxChoice choice = choose_crx_place(sample_, damaged_, places_, row_, item);
        if (choice.place == nullptr) {
            return;
        }
        Extent data = choice.place->data;
        data.length = std::min<std::uint64_t>(data.length, damaged_.size() - data.offset);
        image_.pieces[*row_.items()[item].raw_piece] = data;
        const bool in_place = image_.pieces.size() == 1 || places_.is_whole_row();
        if (!in_place) {
            choice.doubts.emplace_back("Which of the raw images of a burst this is, is a guess.");
        }
        image_.proved += choice.ends && choice.unique && in_place ? 1U : 0U;
        std::ranges::move(choice.doubts, std::back_inserter(image_.doubts));
    }

    void add_others() {
        const std::size_t raw = raw_item();
        if (image_.pieces[0]) {
            put_others(find_neighbours(damaged_, places_, row_, raw, *image_.pieces[0]));
            return;
        }
        const FoundItems before = raw > 0 ? find_around(raw - 1, 0) : FoundItems(row_.items().size());
        const auto begin =
            raw > 0 && before[raw - 1] ? row_.next_begins(raw - 1, *before[raw - 1]).front() : 0;
        const FoundItems after =
            raw + 1 < row_.items().size() ? find_around(raw + 1, begin) : FoundItems(row_.items().size());
        put_others(before);
        put_others(after);
        if (begin != 0 && raw + 1 < after.size() && after[raw + 1]) {
            put_without_head(begin, after[raw + 1]->offset);
        }
        image_.doubts.emplace_back(image_.pieces[0] ? "The head of the raw image is destroyed."
                                                    : "The raw image is lost.");
    }

    [[nodiscard]] std::size_t raw_item() const {
        const auto raw = std::ranges::find_if(
            row_.items(), [](const MediaItem& item) { return item.raw_piece.has_value(); });
        return static_cast<std::size_t>(raw - row_.items().begin());
    }

    /// An item beside the raw image, and its own neighbours, if it is after an offset, and there is no doubt.
    [[nodiscard]] FoundItems find_around(std::size_t item, std::uint64_t from) const {
        const MediaItem& like = row_.items()[item];
        std::optional<Extent> found;
        if (like.kind == MediaItem::Kind::kCrx) {
            const CrxChoice choice = choose_crx_place(sample_, damaged_, places_, row_, item);
            if (choice.place != nullptr && choice.unique && choice.place->is_within(damaged_)) {
                found = choice.place->data;
            }
        } else if (like.kind == MediaItem::Kind::kRecords) {
            found = find_only_records(damaged_, from, like.records);
        }
        return found && found->offset >= from ? find_neighbours(damaged_, places_, row_, item, *found)
                                              : FoundItems(row_.items().size());
    }

    /// What is between two neighbours is the raw image, though its head is destroyed.
    void put_without_head(std::uint64_t begin, std::uint64_t next) {
        const std::size_t raw = raw_item();
        const auto next_of = [&](std::uint64_t end) { return row_.next_begins(raw, {begin, end - begin}); };
        const auto padding = next_of(next).front() - next;
        if (next < begin + padding) {
            return;
        }
        image_.pieces[0] = Extent{begin, next - padding - begin};
    }

    void put_others(const FoundItems& items) {
        for (std::size_t item = 0; item < items.size(); ++item) {
            if (items[item] && !row_.items()[item].raw_piece) {
                image_.others.push_back({row_.items()[item].data, *items[item]});
            }
        }
    }

    Bytes sample_;
    Bytes damaged_;
    const MediaRow& row_;
    CrxPlaces places_;
    FoundImage image_;
};

/// Whether the raw image is in an mdat, as decoders demand.
bool is_in_mdat(const Description& description) {
    return std::ranges::all_of(description.raw.pieces, [&](const Piece& piece) {
        return std::ranges::any_of(description.enclosing, [&](const Piece& box) {
            const bool is_mdat = !box.offset_field; // Not one that CTBO states.
            return is_mdat && box.data.offset < piece.data.offset && piece.data.end() <= box.data.end();
        });
    });
}

/// Whether data decode if the sample's do, or have no blank part if the sample's have none.
bool is_as_sound(Bytes sample, const MediaItem& intact, Bytes file, const MediaItem& item) {
    const auto decodes = [](Bytes bytes, const MediaItem& one) {
        return check_crx(bytes, one.data, one.layout) == CrxDecoding::kComplete;
    };
    if (decodes(sample, intact)) {
        return decodes(file, item);
    }
    return has_blank_part(intact.data.of(sample)) || !has_blank_part(item.data.of(file));
}

} // namespace

std::optional<FoundImage> find_crx_tracks(Bytes damaged, const Sample& sample) {
    const auto row = MediaRow::read(sample.file, sample.description);
    return row ? TrackSearch(damaged, sample, *row).run() : std::nullopt;
}

bool has_whole_crx_tracks(Bytes file, const Description& own, const Sample& sample) {
    const auto intact = MediaRow::read(sample.file, sample.description);
    const auto found = MediaRow::read(file, own);
    const auto alike = [&](const MediaItem& one, const MediaItem& two) {
        return one.kind == two.kind && one.raw_piece == two.raw_piece && one.layout.is_like(two.layout) &&
               (!one.raw_piece || is_as_sound(sample.file, one, file, two));
    };
    return intact && found && is_in_mdat(own) && std::ranges::equal(intact->items(), found->items(), alike);
}

} // namespace raw_mend
