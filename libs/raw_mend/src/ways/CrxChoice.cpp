#include "ways/CrxChoice.h"

#include "coding/BlankData.h"
#include "coding/CrxCheck.h"
#include "locate/TrackTables.h"

#include <algorithm>
#include <tuple>

namespace raw_mend {

namespace {

constexpr std::uint64_t kLeastNear = 65536;
constexpr std::uint64_t kPartNear = 8;
constexpr unsigned kMostDecoded = 8;

/// What can be said for a place.
struct Evidence {
    const CrxPlace* place = nullptr;
    bool in_file = false;
    bool ends = false;
    bool is_broken = false; ///< Its data do not decode, or parts of them are clearly lost.
    bool in_table = false;  ///< A surviving table states its length,
    bool at_table = false;  ///< and its offset.
    bool is_near = false;
    bool at_end = false;

    [[nodiscard]] auto rank() const { return std::tuple(in_file, ends, at_table, in_table, is_near, at_end); }
    /// Whether all that can be said for another can be said for this, and more.
    [[nodiscard]] bool outdoes(const Evidence& other) const {
        return in_table >= other.in_table && at_table >= other.at_table && is_near >= other.is_near &&
               at_end >= other.at_end && rank() != other.rank();
    }
};

std::uint64_t distance(std::uint64_t one, std::uint64_t two) {
    const auto [less, more] = std::minmax(one, two);
    return more - less;
}

bool is_near(std::uint64_t offset, std::uint64_t usual) {
    return distance(offset, usual) <= std::max(kLeastNear, usual / kPartNear);
}

/// Says what is wrong with the data of places, as far as that can be seen in the sample's own coding.
class DataCheck {
  public:
    DataCheck(Bytes sample, Bytes damaged, const CrxPlaces& places, const MediaItem& item)
        : damaged_(damaged), places_(places.all()), item_(item),
          decodes_(check_crx(sample, item.data, item.layout) == CrxDecoding::kComplete),
          has_blank_part_(has_blank_part(item.data.of(sample))) {}

    /// Whether the data can be decoded.
    [[nodiscard]] bool decodes() const { return decodes_; }

    /// Of the places that are in the file, only the first few are decoded; others count as broken.
    bool is_broken(const CrxPlace& place) {
        if (!decodes_) {
            return is_overlapped(place) || (!has_blank_part_ && has_blank_part(place.data.of(damaged_)));
        }
        return ++count_ > kMostDecoded ||
               check_crx(damaged_, place.data, item_.layout) != CrxDecoding::kComplete;
    }

  private:
    /// Whether another track begins among the data: they are remains, and their end is lost.
    [[nodiscard]] bool is_overlapped(const CrxPlace& place) const {
        const auto after = std::ranges::upper_bound(places_, place.data.offset, {},
                                                    [](const CrxPlace& other) { return other.data.offset; });
        return after != places_.end() && after->data.offset < place.data.end();
    }

    Bytes damaged_;
    const std::vector<CrxPlace>& places_;
    const MediaItem& item_;
    bool decodes_;
    bool has_blank_part_;
    unsigned count_ = 0;
};

std::vector<Evidence> collect_evidence(Bytes sample, Bytes damaged, const CrxPlaces& places,
                                       const MediaRow& row, std::size_t item) {
    const auto tables = find_track_tables(damaged);
    const std::uint64_t usual = row.items()[item].data.offset;
    const std::uint64_t after =
        row.items().back().data.end() + row.after_in_file() - row.items()[item].data.end();
    DataCheck check(sample, damaged, places, row.items()[item]);
    std::vector<Evidence> all;
    for (const CrxPlace& place : places.all()) {
        if (place.item != item) {
            continue;
        }
        Evidence evidence{.place = &place, .in_file = place.is_within(damaged)};
        for (const TrackTable& table : tables) {
            const bool same = table.length == place.data.length;
            evidence.in_table = evidence.in_table || same;
            evidence.at_table = evidence.at_table || (same && table.offset == place.data.offset);
        }
        evidence.is_broken = evidence.in_file && check.is_broken(place);
        evidence.ends = evidence.in_file && !evidence.is_broken &&
                        (check.decodes() || place.met_after || evidence.in_table);
        evidence.is_near = is_near(place.data.offset, usual);
        evidence.at_end =
            evidence.in_file && distance(damaged.size() - place.data.end(), after) <= row.slack();
        all.push_back(evidence);
    }
    return all;
}

} // namespace

CrxChoice choose_crx_place(Bytes sample, Bytes damaged, const CrxPlaces& places, const MediaRow& row,
                           std::size_t item) {
    const auto all = collect_evidence(sample, damaged, places, row, item);
    const auto best = std::ranges::max_element(all, {}, &Evidence::rank);
    if (best == all.end()) {
        return {};
    }
    CrxChoice choice{best->place, best->ends, true, {}};
    for (auto other = all.begin(); other != all.end(); ++other) {
        const bool is_rival = other != best && other->in_file && !other->is_broken;
        if (is_rival && !best->outdoes(*other)) {
            choice.unique = false;
            choice.doubts.emplace_back(
                "The file has several raw images like the sample's; the one at offset " +
                std::to_string(best->place->data.offset) + " was chosen.");
            break;
        }
    }
    if (!best->in_file) {
        choice.doubts.emplace_back("The raw image extends past the end of the file.");
    } else if (best->is_broken) {
        choice.doubts.emplace_back("Parts of the raw image are damaged.");
    } else if (!best->ends) {
        choice.doubts.emplace_back("Nothing confirms where the raw image ends.");
    }
    return choice;
}

} // namespace raw_mend
