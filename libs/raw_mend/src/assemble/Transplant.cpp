#include "assemble/Transplant.h"

#include <algorithm>
#include <iterator>
#include <numeric>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMostPadding = 65536;
constexpr std::uint64_t kLeastOwnPadding = 16; // As much is kept between two pieces of the other file.

/// What one part of the sample became in the result.
struct Moved {
    Extent from;
    Extent to;
};

/// Bytes that are more than padding.
class Occupied {
  public:
    explicit Occupied(const Description& description) : extents_(description.tables) {
        add(description.metadata);
        for (const Image& picture : description.pictures) {
            add(picture.pieces);
        }
        std::ranges::sort(extents_, {}, &Extent::offset);
        for (const Extent& extent : extents_) {
            ends_.push_back(std::max(ends_.empty() ? 0 : ends_.back(), extent.end()));
        }
    }

    [[nodiscard]] bool overlaps(const Extent& extent) const {
        const auto after = std::ranges::lower_bound(extents_, extent.end(), {}, &Extent::offset);
        const auto before = after - extents_.begin();
        return before > 0 && ends_[static_cast<std::size_t>(before - 1)] > extent.offset;
    }

  private:
    void add(const std::vector<Piece>& pieces) {
        std::ranges::transform(pieces, std::back_inserter(extents_), &Piece::data);
    }

    std::vector<Extent> extents_;     // By offset.
    std::vector<std::uint64_t> ends_; // Of each, and of all before it: the greatest.
};

class Transplantation {
  public:
    Transplantation(Bytes sample, const Description& description, Bytes other,
                    std::span<const std::optional<Extent>> pieces)
        : sample_(sample), description_(description), other_(other), pieces_(pieces),
          raw_(description.raw.pieces), occupied_(description), order_(raw_.size()) {
        std::iota(order_.begin(), order_.end(), std::size_t{0});
        std::ranges::stable_sort(order_, {}, [&](std::size_t piece) { return raw_[piece].data.offset; });
    }

    std::optional<Splice> run() {
        if (!is_possible()) {
            return std::nullopt;
        }
        place_parts();
        return correct_fields() ? std::optional(std::move(result_)) : std::nullopt;
    }

  private:
    [[nodiscard]] bool is_possible() const {
        if (raw_.empty() || pieces_.size() != raw_.size()) {
            return false;
        }
        std::uint64_t end = 0;
        for (const std::size_t piece : order_) {
            const Extent& data = raw_[piece].data;
            if (data.offset < end || !data.is_within(sample_) ||
                (pieces_[piece] && !pieces_[piece]->is_within(other_))) {
                return false;
            }
            end = data.end();
        }
        return true;
    }

    void place_parts() {
        std::uint64_t from = 0;
        for (std::size_t nth = 0; nth < order_.size(); ++nth) {
            const Extent& data = raw_[order_[nth]].data;
            if (nth == 0 || !place_padding(nth)) {
                keep({from, data.offset - from});
            }
            put_in(order_[nth]);
            from = data.end();
        }
        keep({from, sample_.size() - from});
    }

    void keep(const Extent& extent) {
        moved_.push_back({extent, {result_.size(), extent.length}});
        result_.append(extent.of(sample_));
    }

    void put_in(std::size_t piece) {
        const Extent& data = raw_[piece].data;
        const std::uint64_t length = pieces_[piece] ? pieces_[piece]->length : data.length;
        moved_.push_back({data, {result_.size(), length}});
        if (pieces_[piece]) {
            result_.append(pieces_[piece]->of(other_));
        } else {
            result_.append_zeros(length);
        }
    }

    /// Places what is between a piece and the one before it, if that is padding.
    bool place_padding(std::size_t nth) {
        const Extent& before = raw_[order_[nth - 1]].data;
        const Extent& after = raw_[order_[nth]].data;
        const Extent padding{before.end(), after.offset - before.end()};
        if (padding.length > kMostPadding || occupied_.overlaps(padding)) {
            return false;
        }
        const auto& left = pieces_[order_[nth - 1]];
        const auto& right = pieces_[order_[nth]];
        if (left && right && right->offset >= left->end() &&
            right->offset - left->end() <= std::max<std::uint64_t>(padding.length, kLeastOwnPadding)) {
            result_.append(Extent{left->end(), right->offset - left->end()}.of(other_));
        } else {
            // Pieces that begin at even offsets in the sample do so in the result.
            result_.append_zeros((after.offset - result_.size()) % 2);
        }
        return true;
    }

    bool correct_fields() {
        bool good = std::ranges::all_of(raw_, [&](const Piece& piece) { return correct(piece); });
        for (const Image& picture : description_.pictures) {
            good = good &&
                   std::ranges::all_of(picture.pieces, [&](const Piece& piece) { return correct(piece); });
        }
        for (const auto* pieces :
             {&description_.references, &description_.metadata, &description_.enclosing}) {
            good = good && std::ranges::all_of(*pieces, [&](const Piece& piece) { return correct(piece); });
        }
        return good;
    }

    bool correct(const Piece& piece) {
        const auto begin = begin_of(piece.data.offset);
        const auto end = piece.data.length == 0 ? begin : end_of(piece.data.end());
        return begin && end && *end >= *begin &&
               (!piece.offset_field || set(*piece.offset_field, *begin, true)) &&
               (!piece.length_field || set(*piece.length_field, *end - *begin, false));
    }

    bool set(NumberField field, std::uint64_t number, bool is_offset) {
        const auto at = begin_of(field.at);
        if (!at) {
            return false;
        }
        field.at = *at;
        if (is_offset && field.base != 0) {
            if (description_.container == Description::Container::kBmff) {
                return true; // A later sample of a chunk; the field is that of the first.
            }
            const auto base = begin_of(field.base);
            if (!base) {
                return false;
            }
            field.base = *base;
        }
        return result_.set(field, number);
    }

    /// Where what begins at an offset of the sample begins in the result.
    [[nodiscard]] std::optional<std::uint64_t> begin_of(std::uint64_t offset) const {
        auto after =
            std::ranges::upper_bound(moved_, offset, {}, [](const Moved& part) { return part.from.offset; });
        while (after != moved_.begin()) {
            const Moved& part = *--after;
            const std::uint64_t inside = offset - part.from.offset;
            if (inside == 0 || inside < part.from.length) {
                return part.from.length == part.to.length || inside == 0
                           ? std::optional(part.to.offset + inside)
                           : std::nullopt;
            }
            if (part.from.length != 0) {
                break;
            }
        }
        return offset == sample_.size() ? std::optional(result_.size()) : std::nullopt;
    }

    /// Where what ends at an offset of the sample ends in the result.
    [[nodiscard]] std::optional<std::uint64_t> end_of(std::uint64_t offset) const {
        auto after =
            std::ranges::lower_bound(moved_, offset, {}, [](const Moved& part) { return part.from.offset; });
        while (after != moved_.begin()) {
            const Moved& part = *--after;
            if (part.from.length == 0) {
                continue;
            }
            if (offset == part.from.end()) {
                return part.to.end();
            }
            const bool inside = offset < part.from.end() && part.from.length == part.to.length;
            return inside ? std::optional(part.to.offset + (offset - part.from.offset)) : std::nullopt;
        }
        return std::nullopt;
    }

    Bytes sample_;
    const Description& description_;
    Bytes other_;
    std::span<const std::optional<Extent>> pieces_;
    const std::vector<Piece>& raw_;
    Occupied occupied_;
    std::vector<std::size_t> order_; // Of pieces by offset.
    std::vector<Moved> moved_;       // By offset in the sample.
    Splice result_;
};

} // namespace

std::optional<Splice> transplant(Bytes sample, const Description& description, Bytes other,
                                 std::span<const std::optional<Extent>> pieces) {
    return Transplantation(sample, description, other, pieces).run();
}

} // namespace raw_mend
