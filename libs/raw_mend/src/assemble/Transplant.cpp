#include "assemble/Transplant.h"

#include <algorithm>
#include <iterator>
#include <map>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMostPadding = 65536;
constexpr std::uint64_t kLeastOwnPadding = 16; // As much is kept between two pieces of the other file.

/// What one part of the sample became in the result.
struct Moved {
    Extent from;
    Extent to;
    std::uint64_t padding = 0; ///< Zeros after it.
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

/// What is put in the place of a part of the sample.
struct Insertion {
    Extent from;                  // In the sample.
    std::optional<Bytes> bytes;   // Nothing: zeros.
    std::uint64_t least = 0;      // Bytes it takes at least: zeros follow it.
    std::size_t piece = kNoPiece; // Of the raw image.

    static constexpr std::size_t kNoPiece = ~std::size_t{0};
};

class Transplantation {
  public:
    Transplantation(Bytes sample, const Description& description, Bytes other,
                    std::span<const std::optional<Extent>> pieces, std::span<const Replacement> replacements)
        : sample_(sample), description_(description), other_(other), pieces_(pieces),
          raw_(description.raw.pieces), replacements_(replacements), occupied_(description) {}

    std::optional<Splice> run() {
        if (!add_pieces() || !add_replacements()) {
            return std::nullopt;
        }
        place_parts();
        return correct_fields() ? std::optional(std::move(result_)) : std::nullopt;
    }

  private:
    bool add_pieces() {
        if (raw_.empty() || pieces_.size() != raw_.size()) {
            return false;
        }
        for (std::size_t piece = 0; piece < raw_.size(); ++piece) {
            const auto& own = pieces_[piece];
            if (own && !own->is_within(other_)) {
                return false;
            }
            insertions_.push_back(
                {raw_[piece].data, own ? std::optional(own->of(other_)) : std::nullopt, 0, piece});
        }
        return true;
    }

    /// Also checks that nothing that is replaced overlaps.
    bool add_replacements() {
        std::map<std::uint64_t, std::size_t> pieces;
        for (std::size_t piece = 0; piece < insertions_.size(); ++piece) {
            pieces.emplace(insertions_[piece].from.offset, piece);
        }
        for (const Replacement& part : replacements_) {
            const auto piece = pieces.find(part.extent.offset);
            if (piece != pieces.end() && insertions_[piece->second].from == part.extent) {
                insertions_[piece->second].bytes = part.bytes;
            } else {
                insertions_.push_back({part.extent, part.bytes, part.extent.length});
            }
        }
        std::ranges::stable_sort(insertions_, {},
                                 [](const Insertion& insertion) { return insertion.from.offset; });
        std::uint64_t end = 0;
        for (const Insertion& insertion : insertions_) {
            if (insertion.from.offset < end || !insertion.from.is_within(sample_)) {
                return false;
            }
            end = insertion.from.end();
            if (insertion.piece == Insertion::kNoPiece && !is_in_table(insertion.from)) {
                gone_.push_back(insertion.from);
            }
        }
        return true;
    }

    [[nodiscard]] bool is_in_table(const Extent& extent) const {
        const auto& tables = description_.tables; // Sorted, and apart.
        const auto table = std::ranges::upper_bound(tables, extent.offset, {}, &Extent::end);
        return table != tables.end() && table->offset < extent.end();
    }

    void place_parts() {
        std::uint64_t from = 0;
        const Insertion* before = nullptr;
        for (const Insertion& insertion : insertions_) {
            if (before == nullptr || !place_padding(*before, insertion)) {
                keep({from, insertion.from.offset - from});
            }
            put_in(insertion);
            from = insertion.from.end();
            before = &insertion;
        }
        keep({from, sample_.size() - from});
    }

    void keep(const Extent& extent) {
        moved_.push_back({extent, {result_.size(), extent.length}, 0});
        result_.append(extent.of(sample_));
    }

    void put_in(const Insertion& insertion) {
        const std::uint64_t length = insertion.bytes ? insertion.bytes->size() : insertion.from.length;
        const std::uint64_t padding = insertion.least > length ? insertion.least - length : 0;
        moved_.push_back({insertion.from, {result_.size(), length}, padding});
        if (insertion.bytes) {
            result_.append(*insertion.bytes);
        } else {
            result_.append_zeros(length);
        }
        result_.append_zeros(padding);
    }

    /// Places what is between two pieces of the raw image, if that is padding.
    bool place_padding(const Insertion& before, const Insertion& after) {
        if (before.piece == Insertion::kNoPiece || after.piece == Insertion::kNoPiece) {
            return false;
        }
        const Extent padding{before.from.end(), after.from.offset - before.from.end()};
        if (padding.length > kMostPadding || occupied_.overlaps(padding)) {
            return false;
        }
        const auto& left = pieces_[before.piece];
        const auto& right = pieces_[after.piece];
        if (left && right && right->offset >= left->end() &&
            right->offset - left->end() <= std::max<std::uint64_t>(padding.length, kLeastOwnPadding)) {
            result_.append(Extent{left->end(), right->offset - left->end()}.of(other_));
        } else {
            // Pieces that begin at even offsets in the sample do so in the result.
            result_.append_zeros((after.from.offset - result_.size()) % 2);
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
        if (is_gone(piece.data)) {
            return true;
        }
        const auto begin = begin_of(piece.data.offset);
        const auto end = piece.data.length == 0 ? begin : end_of(piece.data);
        return begin && end && *end >= *begin &&
               (!piece.offset_field || set(*piece.offset_field, *begin, true)) &&
               (!piece.length_field || set(*piece.length_field, *end - *begin, false));
    }

    /// Whether an extent was inside a part that was replaced and is no table: a preview's own thumbnail, for
    /// example. The fields that say where it was may be gone too.
    [[nodiscard]] bool is_gone(const Extent& extent) const {
        const auto after = std::ranges::upper_bound(gone_, extent.offset, {}, &Extent::offset);
        return after != gone_.begin() && extent != *std::prev(after) &&
               extent.end() <= std::prev(after)->end();
    }

    bool set(NumberField field, std::uint64_t number, bool is_offset) {
        const auto at = begin_of(field.at);
        if (!at || is_in_image(field)) {
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

    /// Whether a field has bytes of the raw image: its tables are not those of a photograph.
    [[nodiscard]] bool is_in_image(const NumberField& field) const {
        const auto after =
            std::ranges::lower_bound(insertions_, field.at + field.size, {},
                                     [](const Insertion& insertion) { return insertion.from.offset; });
        return after != insertions_.begin() && std::prev(after)->piece != Insertion::kNoPiece &&
               std::prev(after)->from.end() > field.at;
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

    /// Where what this was in the sample ends in the result. Padding after a part belongs to what is around
    /// it.
    [[nodiscard]] std::optional<std::uint64_t> end_of(const Extent& extent) const {
        auto after = std::ranges::lower_bound(moved_, extent.end(), {},
                                              [](const Moved& part) { return part.from.offset; });
        while (after != moved_.begin()) {
            const Moved& part = *--after;
            if (part.from.length == 0) {
                continue;
            }
            if (extent.end() == part.from.end()) {
                return part.to.end() + (extent.offset < part.from.offset ? part.padding : 0);
            }
            const bool inside = extent.end() < part.from.end() && part.from.length == part.to.length;
            return inside ? std::optional(part.to.offset + (extent.end() - part.from.offset)) : std::nullopt;
        }
        return std::nullopt;
    }

    Bytes sample_;
    const Description& description_;
    Bytes other_;
    std::span<const std::optional<Extent>> pieces_;
    const std::vector<Piece>& raw_;
    std::span<const Replacement> replacements_;
    Occupied occupied_;
    std::vector<Insertion> insertions_; // By offset in the sample.
    std::vector<Extent> gone_;          // What replacements other than tables replace; likewise.
    std::vector<Moved> moved_;          // Likewise.
    Splice result_;
};

} // namespace

std::optional<Splice> transplant(Bytes sample, const Description& description, Bytes other,
                                 std::span<const std::optional<Extent>> pieces,
                                 std::span<const Replacement> replacements) {
    return Transplantation(sample, description, other, pieces, replacements).run();
}

std::optional<Splice> replace(Bytes file, const Description& description,
                              std::span<const Replacement> replacements) {
    std::vector<std::optional<Extent>> pieces;
    for (const Piece& piece : description.raw.pieces) {
        pieces.emplace_back(piece.data);
    }
    return transplant(file, description, file, pieces, replacements);
}

} // namespace raw_mend
