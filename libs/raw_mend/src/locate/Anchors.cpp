#include "locate/Anchors.h"

#include <algorithm>
#include <bitset>
#include <functional>
#include <map>

namespace raw_mend {

namespace {

constexpr std::size_t kAnchor = 32;         ///< Bytes that are looked for.
constexpr std::size_t kMostAnchors = 16;    ///< Each is a search through the file.
constexpr std::size_t kLeastDistinct = 10;  ///< Different values in an anchor.
constexpr std::size_t kMostPlaces = 4;      ///< That one anchor may be found at.
constexpr std::size_t kLeastFiller = 256;   ///< Bytes of one value.
constexpr std::size_t kMostFillers = 65536; ///< Runs.

bool is_distinct(Bytes bytes) {
    std::bitset<256> seen;
    for (const unsigned char byte : bytes) {
        seen.set(byte);
    }
    return seen.count() >= kLeastDistinct;
}

/// The first place in a part from an offset on that is no filler.
std::optional<std::uint64_t> find_anchor(Bytes sample, const Extent& part, std::uint64_t from) {
    constexpr std::uint64_t kReach = 4096;
    const std::uint64_t end = std::min(part.end(), from + kReach);
    for (std::uint64_t at = from; at + kAnchor <= end; at += kAnchor / 2) {
        if (is_distinct(Extent{at, kAnchor}.of(sample))) {
            return at;
        }
    }
    return std::nullopt;
}

/// Places spread over the parts.
std::vector<std::uint64_t> choose_anchors(Bytes sample, std::span<const Extent> parts) {
    std::uint64_t all = 0;
    for (const Extent& part : parts) {
        all += part.length;
    }
    const std::uint64_t distance = std::max<std::uint64_t>(all / kMostAnchors, kAnchor);
    std::vector<std::uint64_t> anchors;
    std::uint64_t skip = 0;
    for (const Extent& part : parts) {
        for (; skip < part.length && anchors.size() < kMostAnchors; skip += distance) {
            if (const auto anchor = find_anchor(sample, part, part.offset + skip)) {
                anchors.push_back(*anchor);
            }
        }
        skip -= std::min(skip, part.length);
    }
    return anchors;
}

void vote(Bytes damaged, Bytes sample, std::uint64_t anchor, std::map<std::int64_t, std::size_t>& votes) {
    const Bytes wanted = Extent{anchor, kAnchor}.of(sample);
    const std::boyer_moore_horspool_searcher searcher(wanted.begin(), wanted.end());
    auto at = damaged.begin();
    for (std::size_t found = 0; found < kMostPlaces; ++found, ++at) {
        at = std::search(at, damaged.end(), searcher);
        if (at == damaged.end()) {
            return;
        }
        ++votes[(at - damaged.begin()) - static_cast<std::int64_t>(anchor)];
    }
}

/// Passes on the runs that other bytes follow, without some of their first bytes.
template <typename Visit>
void visit_fillers(Bytes file, const Visit& visit) {
    constexpr std::size_t kStep = kLeastFiller / 2; // A run that is long enough has a step in its first half.
    for (std::size_t at = kStep; at < file.size();) {
        const auto other = [&](unsigned char byte) { return byte != file[at]; };
        const auto from = file.begin() + static_cast<std::ptrdiff_t>(at);
        const auto end = std::find_if(from, file.end(), other);
        const auto length = static_cast<std::size_t>(end - from);
        if (length >= kStep && end != file.end()) {
            visit(Extent{at, length});
        }
        at += std::max(length / kStep, std::size_t{1}) * kStep;
    }
}

} // namespace

std::vector<std::int64_t> find_displacements(Bytes damaged, Bytes sample, std::span<const Extent> parts) {
    std::map<std::int64_t, std::size_t> votes;
    for (const std::uint64_t anchor : choose_anchors(sample, parts)) {
        vote(damaged, sample, anchor, votes);
    }
    std::vector<std::int64_t> found;
    for (const auto& [displacement, count] : votes) {
        found.push_back(displacement);
    }
    std::ranges::stable_sort(found, [&](std::int64_t a, std::int64_t b) { return votes[a] > votes[b]; });
    return found;
}

std::vector<std::uint64_t> find_filler_ends(Bytes file) {
    std::vector<std::uint64_t> ends;
    visit_fillers(file, [&](const Extent& filler) {
        if (ends.size() < kMostFillers) {
            ends.push_back(filler.end());
        }
    });
    return ends;
}

std::optional<std::uint64_t> find_longest_filler_end(Bytes file) {
    Extent longest;
    visit_fillers(file,
                  [&](const Extent& filler) { longest = filler.length > longest.length ? filler : longest; });
    return longest.length == 0 ? std::nullopt : std::optional(longest.end());
}

} // namespace raw_mend
