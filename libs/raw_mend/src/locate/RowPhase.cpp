#include "locate/RowPhase.h"

#include "locate/Alignment.h"
#include "locate/BreakScores.h"
#include "locate/MaskedColumns.h"
#include "locate/UnevenRows.h"

#include <algorithm>
#include <vector>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMinJudgedRows = 24;
constexpr double kMinDistance = 5;          ///< Standard deviations to the second best.
constexpr double kMinScore = 1.5;           ///< A break scores 1 where there is none.
constexpr double kMaxSteepness = 1.25;      ///< At the seam, a picture is as steep as elsewhere.
constexpr std::size_t kBesideBreak = 16;    ///< Units on either side of it that are judged.
constexpr double kMaxMisfit = 0.16;         ///< Of the range of samples.
constexpr std::uint64_t kMeasuredRows = 64; ///< Of a window.
constexpr std::size_t kMostMeasured = 16;   ///< Windows of an image.

struct Masks {
    bool left = false;
    bool right = false;
};

Masks masks_beside(std::span<const Bytes> windows, const RowGeometry& geometry, std::size_t unit) {
    const auto units = static_cast<std::size_t>(geometry.row_units());
    const std::size_t groups = kBesideBreak / geometry.group_units() * geometry.group_units();
    return {is_masked(windows, geometry, (unit + units - groups) % units, groups),
            is_masked(windows, geometry, unit, groups)};
}

/// The windows without their first bytes.
std::vector<Bytes> from(std::span<const Bytes> windows, std::size_t first) {
    std::vector<Bytes> result;
    for (const Bytes window : windows) {
        result.push_back(window.subspan(std::min(first, window.size())));
    }
    return result;
}

std::uint64_t rows_of(std::span<const Bytes> windows, const RowGeometry& geometry) {
    std::uint64_t rows = 0;
    for (const Bytes window : windows) {
        rows += window.size() / geometry.row_bytes;
    }
    return rows;
}

/// The alignment that the first of the windows with a clear one has, if no other contradicts.
std::optional<unsigned> common_alignment(std::span<const Bytes> windows, const RowGeometry& geometry,
                                         std::optional<unsigned> idle_low_bits) {
    std::optional<unsigned> common;
    for (const Bytes window : windows) {
        const auto alignment = find_alignment(window, geometry, idle_low_bits);
        if (alignment && common && alignment != common) {
            return std::nullopt;
        }
        common = alignment ? alignment : common;
    }
    return common;
}

/// At the seam, columns without change may be due to the scene, so they need not be so again.
bool as_known(const Masks& masks, const RowTraits& traits) {
    const bool left_may_be = !masks.left || traits.masked_left;
    const bool right_may_be = !masks.right || traits.masked_right;
    const bool left_is = masks.left || !traits.masked_left;
    const bool right_is = masks.right || !traits.masked_right;
    return left_may_be && right_may_be && (traits.break_unit == 0 || (left_is && right_is));
}

PhaseFinding judge(std::span<const Bytes> windows, const RowGeometry& geometry, const RowTraits& traits,
                   const BreakScores& scores, const BreakScores::Best& best) {
    if (best.distance < kMinDistance || scores.mean(best.unit) < kMinScore) {
        return PhaseFinding::kNotDistinct;
    }
    if (scores.steepness(best.unit) > kMaxSteepness) {
        return PhaseFinding::kEdge;
    }
    const Masks masks = masks_beside(windows, geometry, best.unit);
    return as_known(masks, traits) ? PhaseFinding::kClear : PhaseFinding::kMasked;
}

/// Whether all columns from the left end of the row to the break, or from it to the right end, are masked.
bool masked_to_an_end(std::span<const Bytes> windows, const RowGeometry& geometry, std::size_t unit) {
    const auto units = static_cast<std::size_t>(geometry.row_units());
    const auto masked = [&](std::size_t first, std::size_t last) {
        for (std::size_t at = first; at < last; at += kBesideBreak) {
            if (!is_masked(windows, geometry, at, std::min(kBesideBreak, last - at))) {
                return false;
            }
        }
        return true;
    };
    return masked(0, unit) || masked(unit, units);
}

/// The number of idle bits must be known: else, samples of another size at another place may fit better.
RowPhase find_uneven(std::span<const Bytes> windows, const RowGeometry& geometry, const RowTraits& traits) {
    RowPhase result;
    const auto found = find_uneven_phase(windows, geometry);
    result.finding = PhaseFinding::kNotDistinct;
    if (!found) {
        return result;
    }
    result.distance = found->distance;
    result.rows = found->rows;
    const auto phase =
        traits.idle_ends ? settle_by_idle_ends(windows, geometry, found->phase) : std::optional(found->phase);
    if (!phase) {
        return result;
    }
    const std::vector<Bytes> rows = from(windows, static_cast<std::size_t>(*phase));
    if (found->misfit > kMaxMisfit || !traits.idle_low_bits ||
        count_idle_low_bits(rows, geometry) != traits.idle_low_bits) {
        result.finding = PhaseFinding::kNoAlignment;
    } else if (found->distance >= kMinDistance) {
        result.finding = PhaseFinding::kClear;
        result.phase = phase;
    }
    return result;
}

} // namespace

std::vector<Bytes> spread_windows(Bytes image, const RowGeometry& geometry) {
    const auto size = static_cast<std::size_t>(kMeasuredRows * geometry.row_bytes);
    const std::size_t all = std::min<std::uint64_t>(image.size(), geometry.image_bytes()) / size;
    const std::size_t count = std::min(all, kMostMeasured);
    std::vector<Bytes> windows;
    for (std::size_t nth = 0; nth < count; ++nth) {
        windows.push_back(image.subspan(nth * all / count * size, size));
    }
    return windows;
}

RowTraits measure_row_traits(Bytes image, const RowGeometry& geometry) {
    if (!geometry.supported()) {
        return {};
    }
    const std::vector<Bytes> windows = spread_windows(image, geometry);
    RowTraits traits;
    traits.idle_low_bits = count_idle_low_bits(windows, geometry);
    if (!geometry.is_even()) {
        traits.break_known = true; // What masked columns hide is not needed.
        traits.idle_ends = has_idle_ends(windows, geometry, 0);
        return traits;
    }
    BreakScores scores(geometry);
    for (const Bytes window : windows) {
        scores.add(window);
    }
    const auto best = scores.best();
    if (!best || best->distance < kMinDistance || scores.mean(best->unit) < kMinScore) {
        return traits;
    }
    if (best->unit != 0 && !masked_to_an_end(windows, geometry, best->unit)) {
        return traits;
    }
    const Masks masks = masks_beside(windows, geometry, best->unit);
    traits.break_known = true;
    traits.break_unit = best->unit;
    traits.masked_left = masks.left;
    traits.masked_right = masks.right;
    return traits;
}

RowPhase find_row_phase(Bytes window, const RowGeometry& geometry, const RowTraits& traits) {
    return find_row_phase(std::span(&window, 1), geometry, traits);
}

RowPhase find_row_phase(std::span<const Bytes> windows, const RowGeometry& geometry,
                        const RowTraits& traits) {
    RowPhase result;
    if (!geometry.supported()) {
        return result;
    }
    result.finding = PhaseFinding::kTooShort;
    if (rows_of(windows, geometry) < kMinJudgedRows) {
        return result;
    }
    if (!geometry.is_even()) {
        return find_uneven(windows, geometry, traits);
    }
    result.alignment = common_alignment(windows, geometry, traits.idle_low_bits);
    if (!result.alignment) {
        result.finding = PhaseFinding::kNoAlignment;
        return result;
    }
    const std::vector<Bytes> groups = from(windows, *result.alignment);
    BreakScores scores(geometry);
    for (const Bytes window : groups) {
        scores.add(window);
    }
    result.rows = scores.rows();
    const auto best = scores.best();
    if (!best) {
        return result;
    }
    result.best = scores.mean(best->unit);
    result.second = scores.mean(best->second);
    result.distance = best->distance;
    result.finding = judge(groups, geometry, traits, scores, *best);
    if (result.finding == PhaseFinding::kClear) {
        const std::uint64_t units = geometry.row_units();
        const std::uint64_t unit = (best->unit + units - traits.break_unit % units) % units;
        const std::uint64_t byte = unit / geometry.group_units() * geometry.group_bytes();
        result.phase = (byte + *result.alignment) % geometry.row_bytes;
    }
    return result;
}

} // namespace raw_mend
