#include "locate/CodedRow.h"

#include "locate/MissingPieces.h"

#include <algorithm>

namespace raw_mend {

namespace {

class Choice {
  public:
    Choice(Bytes damaged, const std::vector<CodedPlace>& places, const CodedSample& sample)
        : damaged_(damaged), places_(places), sample_(sample) {}

    CodedRow choose() {
        row_.pieces.resize(sample_.count());
        find_headless();
        if (!choose_unbroken()) {
            if (places_.size() > sample_.count()) {
                choose_likeliest();
            } else if (!places_.empty()) {
                choose_with_gaps();
            }
        }
        list_unused();
        return std::move(row_);
    }

  private:
    [[nodiscard]] bool joined(std::size_t nth) const {
        return is_next(places_[nth], places_[nth + 1], sample_);
    }

    /// For each place, how many places before it are one row with it.
    [[nodiscard]] std::vector<std::size_t> lengths_of_rows() const {
        std::vector<std::size_t> lengths(places_.size(), 1);
        for (std::size_t nth = 1; nth < places_.size(); ++nth) {
            lengths[nth] = joined(nth - 1) ? lengths[nth - 1] + 1 : 1;
        }
        return lengths;
    }

    /// For each place, the most pieces at the beginning of the sample's row whose frames are those of as many
    /// places, this one being the last (Knuth, Morris and Pratt: linear, whatever the frames).
    [[nodiscard]] std::vector<std::size_t> lengths_of_matching_frames() const {
        const std::size_t count = sample_.count();
        std::vector<std::size_t> borders(count, 0);
        const auto extend = [&](std::size_t length, std::size_t structure) {
            while (length > 0 && (length == count || sample_.structure_at(length) != structure)) {
                length = borders[length - 1];
            }
            return length < count && sample_.structure_at(length) == structure ? length + 1 : 0;
        };
        for (std::size_t nth = 1; nth < count; ++nth) {
            borders[nth] = extend(borders[nth - 1], sample_.structure_at(nth));
        }
        std::vector<std::size_t> lengths;
        std::size_t length = 0;
        for (const CodedPlace& place : places_) {
            length = extend(length, place.structure);
            lengths.push_back(length);
        }
        return lengths;
    }

    [[nodiscard]] std::uint64_t distance(std::size_t first) const {
        const std::uint64_t usual = sample_.streams().front().begin;
        const std::uint64_t offset = places_[first].offset;
        return offset > usual ? offset - usual : usual - offset;
    }

    /// Whether a row with this last place ends as far before the end of the file as in the sample.
    [[nodiscard]] bool ends_alike(std::size_t last) const {
        return places_[last].end_known && sample_.ends_alike(damaged_.size() - places_[last].end);
    }

    /// Whether a row from the first place to the last has at least half as many bytes as the sample's image.
    [[nodiscard]] bool is_long(std::size_t first, std::size_t last) const {
        const std::uint64_t usual = sample_.streams().back().end - sample_.streams().front().begin;
        return 2 * (places_[last].end - places_[first].offset) >= usual;
    }

    /// How many places before each one are proved, and before the end.
    [[nodiscard]] std::vector<std::size_t> proved_before() const {
        std::vector<std::size_t> counts{0};
        for (const CodedPlace& place : places_) {
            counts.push_back(counts.back() + (place.proved ? 1U : 0U));
        }
        return counts;
    }

    bool choose_unbroken() {
        const std::size_t count = sample_.count();
        const auto lengths = lengths_of_rows();
        const auto frames = lengths_of_matching_frames();
        const auto before = proved_before();
        const auto proved = [&](std::size_t first) { return before[first + count] - before[first]; };
        std::optional<std::size_t> best;
        std::size_t rows = 0;
        std::size_t rows_at_end = 0;
        std::size_t rows_long = 0;
        std::size_t first_last = 0; // The last place of the first row.
        for (std::size_t last = count - 1; last < places_.size(); ++last) {
            const std::size_t first = last + 1 - count;
            if (lengths[last] < count || frames[last] < count) {
                continue;
            }
            first_last = rows == 0 ? last : first_last;
            ++rows;
            const bool ends = ends_alike(last);
            rows_at_end += ends ? 1 : 0;
            rows_long += is_long(first, last) ? 1 : 0;
            const bool is_more = !best || proved(first) > proved(*best);
            const bool is_nearer =
                best && proved(first) == proved(*best) && distance(first) < distance(*best);
            if (ends ? rows_at_end == 1 || is_more || is_nearer
                     : rows_at_end == 0 && (is_more || is_nearer)) {
                best = first;
            }
        }
        if (!best) {
            return false;
        }
        // Streams before those at the end, too few for another image, are remains. So are short rows beside
        // one that is proved.
        const bool is_only_long =
            rows_long == 1 && is_long(*best, *best + count - 1) && proved(*best) == count;
        assign_in_order(*best, rows == 1 || (rows_at_end == 1 && first_last >= *best) || is_only_long);
        if (rows > 1) {
            row_.doubts.push_back(std::to_string(rows) + " rows of " + std::to_string(count) +
                                  (count == 1 ? " stream" : " streams") + " are in the file; the one " +
                                  (rows_at_end == 1 ? "at its end"
                                                    : "with the most proved streams, or nearest to the "
                                                      "sample's offset,") +
                                  " was chosen.");
        }
        return true;
    }

    /// Places from this one on, with these positions.
    void assign(std::size_t first, const std::vector<Position>& positions, const std::vector<bool>& trusted) {
        std::size_t uncertain = 0;
        for (std::size_t nth = 0; nth < positions.size(); ++nth) {
            const Position& position = positions[nth];
            const bool certain = trusted[nth] && position.least == position.most &&
                                 places_[first + nth].structure == sample_.structure_at(position.least);
            row_.pieces[sample_.pieces()[position.likely]] = PiecePlace{first + nth, certain};
            uncertain += certain ? 0U : 1U;
        }
        if (uncertain != 0) {
            row_.doubts.push_back(describe_uncertain(uncertain, positions.size()));
        }
    }

    /// As many places as there are pieces, or all places if they are fewer, in order.
    void assign_in_order(std::size_t first, bool certain) {
        const std::size_t count = std::min(sample_.count(), places_.size() - first);
        std::vector<Position> positions;
        for (std::size_t nth = 0; nth < count; ++nth) {
            positions.push_back({nth, nth, nth});
        }
        const auto row = std::span(places_).subspan(first, count);
        assign(first, positions, certain ? trusted(row, gaps_of(first, count)) : std::vector<bool>(count));
    }

    [[nodiscard]] std::vector<Gap> gaps_of(std::size_t first, std::size_t count) const {
        auto gaps = find_gaps(damaged_, std::span(places_).subspan(first, count), before_first_, sample_);
        if (first != 0) {
            gaps.front().most = sample_.count(); // Other places are before it.
        }
        return gaps;
    }

    /// Which places are a piece's for certain. A head that was moved into another stream, or after one,
    /// begins a stream that is not proved, and there is a place more than there should be. Then those before
    /// and after are certain if nothing can be missing from them to the image's start or end.
    [[nodiscard]] static std::vector<bool> trusted(std::span<const CodedPlace> row,
                                                   const std::vector<Gap>& gaps) {
        std::size_t first_pair = row.size();
        std::size_t last_pair = 0;
        for (std::size_t nth = 0; nth + 1 < row.size(); ++nth) {
            if (!row[nth + 1].proved && (!row[nth].proved || gaps[nth + 1].most > 0)) {
                first_pair = std::min(first_pair, nth);
                last_pair = nth + 1;
            }
        }
        std::vector<bool> result(row.size(), first_pair == row.size());
        for (std::size_t nth = 0; nth < row.size() && nth <= first_pair && gaps[nth].most == 0; ++nth) {
            result[nth] = true;
        }
        for (std::size_t nth = row.size(); nth-- > last_pair + 1 && gaps[nth + 1].most == 0;) {
            result[nth] = true;
        }
        return result;
    }

    /// As many places in a row as there are pieces, with the fewest breaks between them.
    void choose_likeliest() {
        const std::size_t count = sample_.count();
        std::size_t joins = 0;
        std::size_t best = 0;
        std::size_t best_joins = 0;
        for (std::size_t last = 1; last < places_.size(); ++last) {
            joins += joined(last - 1) ? 1U : 0U;
            if (last >= count) {
                joins -= joined(last - count) ? 1U : 0U;
            }
            const std::size_t first = last + 1 < count ? 0 : last + 1 - count;
            const bool nearer = joins == best_joins && distance(first) < distance(best);
            if (last + 1 >= count && (joins > best_joins || nearer)) {
                best = first;
                best_joins = joins;
            }
        }
        assign_in_order(best, false);
        row_.doubts.push_back(std::to_string(places_.size()) + " streams are in the file, but none of " +
                              std::to_string(count) + " in an unbroken row.");
    }

    void choose_with_gaps() {
        const std::size_t missing = sample_.count() - places_.size();
        auto gaps = gaps_of(0, places_.size());
        auto positions = find_positions(gaps, missing);
        if (!positions) { // Truncated exactly where a stream ends?
            gaps.back().most = sample_.count();
            positions = find_positions(gaps, missing);
        }
        if (positions) {
            assign(0, *positions, trusted(places_, gaps));
            return;
        }
        row_.doubts.emplace_back("The bytes between the streams do not agree with their number.");
        assign_in_order(0, false);
    }

    void find_headless() {
        std::uint64_t from = 0;
        for (std::size_t nth = 0; nth <= places_.size(); ++nth) {
            const std::uint64_t to = nth < places_.size() ? places_[nth].offset : damaged_.size();
            for (const EntropyData& data : find_entropy_data(damaged_, {from, to})) {
                if (nth == 0) {
                    before_first_.push_back(data);
                }
                if (!data.has_head) {
                    row_.headless.push_back(data);
                }
            }
            from = nth < places_.size() ? places_[nth].end : to;
        }
    }

    void list_unused() {
        std::vector<bool> used(places_.size());
        for (const auto& piece : row_.pieces) {
            if (piece) {
                used[piece->place] = true;
            }
        }
        for (std::size_t nth = 0; nth < places_.size(); ++nth) {
            if (!used[nth]) {
                row_.unused.push_back(nth);
            }
        }
    }

    Bytes damaged_;
    const std::vector<CodedPlace>& places_;
    const CodedSample& sample_;
    std::vector<EntropyData> before_first_;
    CodedRow row_;
};

} // namespace

std::size_t CodedRow::found() const {
    return static_cast<std::size_t>(
        std::count_if(pieces.begin(), pieces.end(), [](const auto& piece) { return piece.has_value(); }));
}

bool is_next(const CodedPlace& place, const CodedPlace& next, const CodedSample& sample) {
    return place.end_known && sample.spacing().allows(place.range(), next.offset);
}

std::string describe_uncertain(std::size_t uncertain, std::size_t streams) {
    return "The indices of " + std::to_string(uncertain) + " of " + std::to_string(streams) +
           (streams == 1 ? " stream" : " streams") + " are not certain.";
}

CodedRow choose_row(Bytes damaged, const std::vector<CodedPlace>& places, const CodedSample& sample) {
    return Choice(damaged, places, sample).choose();
}

} // namespace raw_mend
