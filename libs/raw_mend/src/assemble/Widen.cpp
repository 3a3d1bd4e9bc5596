#include "assemble/Widen.h"

#include <algorithm>

namespace raw_mend {

namespace {

/// Takes the piece with these bytes out of a list.
std::optional<Piece> take_piece(std::vector<Piece>& pieces, const Extent& data) {
    const auto found = std::ranges::find(pieces, data, &Piece::data);
    if (found == pieces.end()) {
        return std::nullopt;
    }
    Piece piece = *found;
    pieces.erase(found);
    return piece;
}

std::optional<Piece> take_piece(Description& description, const Extent& data) {
    for (Image& picture : description.pictures) {
        if (auto piece = take_piece(picture.pieces, data)) {
            return piece;
        }
    }
    return take_piece(description.metadata, data);
}

} // namespace

Widened widen(const Description& description, const FoundImage& image) {
    Widened wide{description, image.pieces};
    for (const Substitute& other : image.others) {
        if (auto piece = take_piece(wide.description, other.in_sample)) {
            wide.description.raw.pieces.push_back(*piece);
            wide.pieces.emplace_back(other.in_damaged);
        }
    }
    return wide;
}

} // namespace raw_mend
