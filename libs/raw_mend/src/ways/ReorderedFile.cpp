#include "ways/ReorderedFile.h"

#include "container/Inventory.h"
#include "locate/RowFit.h"

#include <algorithm>
#include <limits>

namespace raw_mend {

namespace {

constexpr std::uint64_t kManyRows = 1024; // Fewer are judged together.
constexpr std::uint64_t kBeside = 8; // Rows before and after those at the joint that they are compared with.
constexpr double kMostOfBase = 0.7;  // Of the difference of samples at different places.
constexpr double kMostOfNeighbours = 1.5;

/// Whether the rows on both sides of a byte of the image differ as little as those around them, and much less
/// than if they had nothing in common.
bool fits_at(std::uint64_t byte, Bytes image, const RowGeometry& geometry) {
    RowFit fit(image, geometry, 0);
    const std::uint64_t row = byte / geometry.row_bytes;
    const std::uint64_t period = geometry.cfa_period;
    if (row < period + kBeside || row + period + kBeside >= fit.rows()) {
        return false;
    }
    double beside = 0;
    for (std::uint64_t other = row - period - kBeside; other <= row + kBeside; ++other) {
        const bool is_beside = other + period < row || other > row;
        beside = is_beside ? std::max(beside, fit.misfit(other).mean) : beside;
    }
    for (std::uint64_t other = row - period; other <= row; ++other) {
        const auto [mean, base] = fit.misfit(other);
        if (mean > kMostOfBase * base || mean > kMostOfNeighbours * beside) {
            return false;
        }
    }
    return true;
}

/// In the damaged file, from the first byte of an image to the last. The largest offset stands for all
/// beyond.
struct Span {
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
};

std::uint64_t saturating_sum(std::uint64_t one, std::uint64_t other) {
    return one > std::numeric_limits<std::uint64_t>::max() - other ? std::numeric_limits<std::uint64_t>::max()
                                                                   : one + other;
}

void extend(Span& span, const Extent& piece) {
    span.begin = std::min(span.begin, piece.offset);
    span.end = std::max(span.end, saturating_sum(piece.offset, piece.length));
}

Span span_of(const OwnStructure& own) {
    Span span{std::numeric_limits<std::uint64_t>::max(), 0};
    for (const Extent& piece : own.pieces()) {
        extend(span, piece);
    }
    return span;
}

Span span_of(const FoundImage& image) {
    Span span{std::numeric_limits<std::uint64_t>::max(), 0};
    for (const auto& piece : image.pieces) {
        extend(span, piece.value_or(Extent{span.begin, 0}));
    }
    return span;
}

/// A photograph that is as long after its image as the sample is; nothing if it goes on past the end of the
/// file.
std::optional<Extent> find_extent(const OwnStructure& own, Bytes damaged, const Sample& sample) {
    const std::uint64_t end = saturating_sum(span_of(own).end, sample.bytes_after());
    return end <= damaged.size() ? std::optional(Extent{own.header, end - own.header}) : std::nullopt;
}

Reordering parts_around(const Extent& other, std::uint64_t begin, Bytes damaged) {
    return {{begin, other.offset - begin}, {other.end(), damaged.size() - other.end()}};
}

} // namespace

std::vector<unsigned char> Reordering::of(Bytes damaged) const {
    std::vector<unsigned char> file;
    file.reserve(static_cast<std::size_t>(first.length + second.length));
    for (const Extent& part : {first, second}) {
        const Bytes bytes = part.of(damaged);
        file.insert(file.end(), bytes.begin(), bytes.end());
    }
    return file;
}

std::optional<Reordering> find_rotation(Bytes damaged, const std::vector<OwnStructure>& named) {
    for (const OwnStructure& own : named) {
        const auto& pieces = own.description.raw.pieces;
        const bool has_room =
            std::ranges::all_of(pieces, [&](const Piece& piece) { return piece.data.is_within(damaged); });
        const bool goes_on = std::ranges::any_of(
            pieces, [&](const Piece& piece) { return own.header + piece.data.end() > damaged.size(); });
        if (own.header != 0 && has_room && goes_on) {
            return Reordering{{own.header, damaged.size() - own.header}, {0, own.header}};
        }
    }
    return std::nullopt;
}

std::optional<Reordering> find_photograph_around(Bytes damaged, const std::vector<OwnStructure>& named,
                                                 const Sample& sample) {
    for (std::size_t nth = 0; nth + 1 < named.size(); ++nth) {
        const Span image = span_of(named[nth]);
        const auto other = find_extent(named[nth + 1], damaged, sample);
        if (other && other->offset > image.begin && other->offset < image.end &&
            image.end - other->offset <= damaged.size() - other->end()) {
            return parts_around(*other, named[nth].header, damaged);
        }
    }
    const std::uint64_t least = data_length(sample.description.raw) / 4 * 3; // Coded images differ in length.
    for (const OwnStructure& own : named) {
        const auto other = own.header == 0 ? std::nullopt : find_extent(own, damaged, sample);
        if (other && other->end() < damaged.size() && damaged.size() - other->length >= least) {
            return parts_around(*other, 0, damaged);
        }
    }
    return std::nullopt;
}

bool is_joint_proved(Bytes file, std::uint64_t joint, const FoundImage& image, const Sample& sample) {
    const Span span = span_of(image);
    if (joint <= span.begin || joint >= span.end) {
        return false;
    }
    if (!sample.rows || sample.headless) {
        return true;
    }
    const Extent extent{span.begin, sample.rows->extent.length};
    if (!extent.is_within(file) || joint >= extent.end()) {
        return false;
    }
    const RowGeometry& geometry = sample.rows->geometry;
    const Bytes rows = extent.of(file);
    const std::uint64_t byte = joint - extent.offset;
    const std::uint64_t row = byte / geometry.row_bytes + 1;
    const auto first = std::min<std::uint64_t>(row * geometry.row_bytes, rows.size());
    const Bytes after = rows.subspan(static_cast<std::size_t>(first));
    const auto windows =
        row + kManyRows < geometry.rows ? spread_windows(after, geometry) : std::vector{after};
    return find_row_phase(windows, geometry, sample.traits).phase == 0 && fits_at(byte, rows, geometry);
}

} // namespace raw_mend
