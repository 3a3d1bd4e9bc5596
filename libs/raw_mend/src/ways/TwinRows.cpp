#include "ways/TwinRows.h"

#include "locate/RowExtent.h"

#include <algorithm>

namespace raw_mend {

namespace {

/// The other image's rows; nothing if there is none, or if it is before the first one.
std::optional<ImageRows> rows_of_twin(const Description& description) {
    const auto raw = rows_of(description.raw);
    for (const Image& picture : description.pictures) {
        const auto rows = raw && picture.pieces.size() == 1 ? rows_of(picture) : std::nullopt;
        if (rows && rows->geometry == raw->geometry && rows->extent.offset >= raw->extent.end()) {
            return rows;
        }
    }
    return std::nullopt;
}

/// Where the first of both images is, and whether it is only one range of rows.
struct Found {
    std::uint64_t start = 0;
    bool is_proved = false;
};

/// Both as one range of rows.
std::optional<Found> find_adjacent(Bytes damaged, const Sample& sample, const SamplePlace& place) {
    RowGeometry both = sample.rows->geometry;
    both.rows *= 2;
    const RowExtent found = find_row_extent(damaged, both, sample.traits, place);
    if (found.images.size() != 1 || found.images[0].is_doubtful() || found.images[0].start < 0) {
        return std::nullopt;
    }
    return Found{static_cast<std::uint64_t>(found.images[0].start), found.pieces.size() == 1};
}

/// Whether rows that fit one another are in an image at an offset, in its phase.
bool has_rows(const RowExtent& found, const RowGeometry& geometry, std::uint64_t start) {
    return std::ranges::any_of(found.pieces, [&](const PhasePiece& piece) {
        return piece.phase == start % geometry.row_bytes && piece.end > start &&
               piece.begin < start + geometry.image_bytes();
    });
}

/// By one whose place is certain, and rows of the other where it must be.
std::optional<Found> find_apart(Bytes damaged, const Sample& sample, const SamplePlace& place,
                                std::uint64_t distance) {
    const RowGeometry& geometry = sample.rows->geometry;
    const RowExtent found = find_row_extent(damaged, geometry, sample.traits, place);
    std::optional<std::uint64_t> only;
    for (const ImagePlace& image : found.images) {
        const auto is_first = static_cast<std::uint64_t>(image.start);
        for (const std::uint64_t start : {is_first, is_first - distance}) {
            if (image.start < 0 || image.is_doubtful() || start > is_first ||
                !has_rows(found, geometry, start) || !has_rows(found, geometry, start + distance)) {
                continue;
            }
            if (only && only != start) {
                return std::nullopt;
            }
            only = start;
        }
    }
    return only ? std::optional(Found{*only, found.pieces.size() == 2}) : std::nullopt;
}

} // namespace

bool has_twin(const Description& description) {
    return rows_of_twin(description).has_value();
}

std::optional<FoundImage> find_twin_rows(Bytes damaged, const Sample& sample) {
    const auto twin = rows_of_twin(sample.description);
    if (!twin || sample.description.raw.pieces.size() != 1) {
        return std::nullopt;
    }
    const Extent& own = sample.rows->extent;
    const std::uint64_t distance = twin->extent.offset - own.offset;
    const SamplePlace place{own.offset, sample.file.size() - twin->extent.end()};
    const auto found = distance == own.length ? find_adjacent(damaged, sample, place)
                                              : find_apart(damaged, sample, place, distance);
    const Extent second{found ? found->start + distance : 0, own.length};
    if (!found || !second.is_within(damaged)) {
        return std::nullopt;
    }
    FoundImage image{Way::kRows, {Extent{found->start, own.length}}, found->is_proved ? 1U : 0U, {}};
    image.others.push_back({twin->extent, second});
    return image;
}

} // namespace raw_mend
