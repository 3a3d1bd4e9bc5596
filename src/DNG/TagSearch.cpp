#include "DNG/TagSearch.h"

#include "util/ByteScan.h"

#include <algorithm>
#include <iterator>

namespace plate_mend {

namespace {

// A shorter range is faster searched again than looked up, and where matches abound there would be millions
// of them.
constexpr std::uint64_t kWorthRemembering = 256;

} // namespace

/// The first gap that ends after the offset.
TagSearch::Gaps::iterator TagSearch::first_gap_behind(std::uint64_t offset) {
    const auto next = gaps_.upper_bound(offset);
    if (next != gaps_.begin() && std::prev(next)->second > offset) {
        return std::prev(next);
    }
    return next;
}

std::optional<std::uint32_t> TagSearch::find(const MMAP& map, std::uint32_t start) {
    std::uint64_t from = start;
    for (auto gap = first_gap_behind(start);; ++gap) {
        const bool last = gap == gaps_.end();
        if (last || from < gap->first) {
            const std::uint64_t end = last ? map.size() : gap->first + pattern_.size() - 1;
            if (const auto match = find_in_file(map, pattern_, from, end)) {
                remember(start, *match);
                return match;
            }
        }
        if (last) {
            remember(start, map.size());
            return std::nullopt;
        }
        from = gap->second;
    }
}

void TagSearch::remember(std::uint64_t first, std::uint64_t last) {
    if (last < first + kWorthRemembering) {
        return;
    }
    auto gap = first_gap_behind(first);
    while (gap != gaps_.end() && gap->first <= last) {
        first = std::min(first, gap->first);
        last = std::max(last, gap->second);
        gap = gaps_.erase(gap);
    }
    gaps_.emplace(first, last);
}

void TagSearch::forget(std::uint64_t first, std::uint64_t last) {
    const std::uint64_t begin = first - std::min<std::uint64_t>(first, pattern_.size() - 1);
    auto gap = first_gap_behind(begin);
    while (gap != gaps_.end() && gap->first < last) {
        const auto [gap_first, gap_last] = *gap;
        gap = gaps_.erase(gap);
        if (gap_first < begin) {
            gaps_.emplace(gap_first, begin);
        }
        if (gap_last > last) {
            gaps_.emplace(last, gap_last);
        }
    }
}

} // namespace plate_mend
