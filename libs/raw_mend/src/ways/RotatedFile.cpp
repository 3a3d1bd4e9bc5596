#include "ways/RotatedFile.h"

#include "container/Describe.h"
#include "locate/RowFit.h"
#include "ways/OwnTables.h"

#include <algorithm>

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

} // namespace

std::optional<std::uint64_t> find_rotated_start(Bytes damaged, const Sample& sample) {
    for (const OwnStructure& own : find_named_images(damaged, sample)) {
        const auto& pieces = own.description.raw.pieces;
        const bool has_room =
            std::ranges::all_of(pieces, [&](const Piece& piece) { return piece.data.is_within(damaged); });
        const bool goes_on = std::ranges::any_of(
            pieces, [&](const Piece& piece) { return own.header + piece.data.end() > damaged.size(); });
        if (own.header != 0 && has_room && goes_on) {
            return own.header;
        }
    }
    return std::nullopt;
}

std::vector<unsigned char> rotate(Bytes damaged, std::uint64_t start) {
    std::vector<unsigned char> file(damaged.begin() + static_cast<std::ptrdiff_t>(start), damaged.end());
    file.insert(file.end(), damaged.begin(), damaged.begin() + static_cast<std::ptrdiff_t>(start));
    return file;
}

bool is_joint_proved(Bytes file, std::uint64_t joint, const Sample& sample) {
    const auto own = describe(file);
    const auto rows = own ? rows_of(own->raw) : std::nullopt;
    if (!rows || !rows->extent.is_within(file) || sample.headless || joint <= rows->extent.offset ||
        joint >= rows->extent.end()) {
        return true;
    }
    const Bytes image = rows->extent.of(file);
    const std::uint64_t byte = joint - rows->extent.offset;
    const std::uint64_t row = byte / rows->geometry.row_bytes + 1;
    const auto first = std::min<std::uint64_t>(row * rows->geometry.row_bytes, image.size());
    const Bytes after = image.subspan(static_cast<std::size_t>(first));
    const auto windows =
        row + kManyRows < rows->geometry.rows ? spread_windows(after, rows->geometry) : std::vector{after};
    return find_row_phase(windows, rows->geometry, sample.traits).phase == 0 &&
           fits_at(byte, image, rows->geometry);
}

} // namespace raw_mend
