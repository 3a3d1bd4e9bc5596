#include "Inconsistency.h"

#include <algorithm>
#include <span>

namespace raw_mend {

namespace {

constexpr std::size_t kMostSentences = 64;

std::string about(const char* what, std::uint64_t offset) {
    return std::string(what) + " at " + std::to_string(offset);
}

std::string about_field(const test::Bytes& bytes, const std::optional<NumberField>& field,
                        std::uint64_t expected) {
    if (!field) {
        return "";
    }
    if (field->size != 2 && field->size != 4 && field->size != 8) {
        return about("a field of another size", field->at);
    }
    if (field->at > bytes.size() || field->size > bytes.size() - field->at) {
        return about("a field outside the file", field->at);
    }
    return number_in(bytes, *field) + field->base == expected ? ""
                                                              : about("a field of another number", field->at);
}

std::string about_pieces(const test::Bytes& bytes, std::span<const Piece> pieces) {
    for (const Piece& piece : pieces) {
        if (piece.data.end() < piece.data.offset) {
            return about("an overflow", piece.data.offset);
        }
        std::string found = about_field(bytes, piece.offset_field, piece.data.offset);
        if (found.empty()) {
            found = about_field(bytes, piece.length_field, piece.data.length);
        }
        if (!found.empty()) {
            return found;
        }
    }
    return "";
}

std::string about_tables(const test::Bytes& bytes, std::span<const Extent> tables) {
    std::uint64_t end = 0;
    for (const Extent& table : tables) {
        if (table.length == 0 || table.offset < end || !table.is_within(bytes)) {
            return about("a table that is empty, out of order or outside the file", table.offset);
        }
        end = table.end();
    }
    return "";
}

/// The tables must be sorted and apart.
std::string about_overlaps(std::span<const Extent> tables, std::span<const Piece> pieces) {
    for (const Piece& piece : pieces) {
        const auto after = std::ranges::upper_bound(tables, piece.data.offset, {}, &Extent::end);
        if (piece.data.length != 0 && after != tables.end() && after->offset < piece.data.end()) {
            return about("a table overlaps an image", piece.data.offset);
        }
    }
    return "";
}

} // namespace

std::uint64_t number_in(const test::Bytes& bytes, const NumberField& field) {
    std::uint64_t number = 0;
    for (unsigned index = 0; index < field.size; ++index) {
        const unsigned at = field.order == ByteOrder::kBig ? index : field.size - 1 - index;
        number = number << 8U | bytes.at(static_cast<std::size_t>(field.at) + at);
    }
    return number;
}

std::string inconsistency(const test::Bytes& bytes, const Description& description) {
    std::string found = about_tables(bytes, description.tables);
    const auto add = [&found](std::string sentence) {
        if (found.empty()) {
            found = std::move(sentence);
        }
    };
    std::size_t pieces = 0;
    const auto add_image = [&](const Image& image) {
        pieces += image.pieces.size();
        add(about_pieces(bytes, image.pieces));
        add(about_overlaps(description.tables, image.pieces));
    };
    add_image(description.raw);
    std::ranges::for_each(description.pictures, add_image);
    add(about_pieces(bytes, description.metadata));
    add(about_pieces(bytes, description.enclosing));
    add(about_pieces(bytes, description.references));
    add(pieces <= bytes.size() / 2 + 1 ? "" : "more pieces than the bytes have room to name");
    const auto pixels = [](const Image& image) {
        return std::uint64_t{image.frame.width} * image.frame.height;
    };
    add(std::ranges::is_sorted(description.pictures, std::ranges::greater{}, pixels)
            ? ""
            : "the pictures are not sorted");
    add(description.not_understood.size() <= kMostSentences ? "" : "too many sentences");
    return found;
}

} // namespace raw_mend
