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

std::optional<Found> find_apart(Bytes damaged, const Sample& sample, const SamplePlace& place,
                                std::uint64_t distance) {
    const RowExtent found = find_row_extent(damaged, sample.rows->geometry, sample.traits, place);
    if (found.images.size() != 2 || found.images[0].start < 0 ||
        found.images[1].start - found.images[0].start != static_cast<std::int64_t>(distance) ||
        (found.images[0].is_doubtful() && found.images[1].is_doubtful())) {
        return std::nullopt;
    }
    return Found{static_cast<std::uint64_t>(found.images[0].start), found.pieces.size() == 2};
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
