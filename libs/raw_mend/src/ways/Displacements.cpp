#include "ways/Displacements.h"

#include <algorithm>
#include <functional>
#include <iterator>

namespace raw_mend {

namespace {

constexpr std::size_t kLeastPairs = 3;
constexpr std::size_t kMostDisplacements = 64;
constexpr std::size_t kMostAlike = 8; // Pairs of pieces at one distance; more tell nothing.

/// Two neighbouring pieces.
struct PiecePair {
    std::uint64_t distance = 0;
    std::uint64_t offset = 0; ///< Of the first.
};

std::vector<PiecePair> list_pairs(std::span<const Extent> named) {
    std::vector<std::uint64_t> offsets;
    for (const Extent& piece : named) {
        offsets.push_back(piece.offset);
    }
    std::ranges::sort(offsets);
    std::vector<PiecePair> pairs;
    for (std::size_t nth = 1; nth < offsets.size(); ++nth) {
        pairs.push_back({offsets[nth] - offsets[nth - 1], offsets[nth - 1]});
    }
    std::ranges::sort(pairs, {}, &PiecePair::distance);
    return pairs;
}

/// One for each pair of streams that a pair of pieces may be.
std::vector<std::uint64_t> list_votes(std::span<const PiecePair> pairs, std::span<const CodedPlace> places) {
    std::vector<std::uint64_t> votes;
    for (std::size_t nth = 1; nth < places.size(); ++nth) {
        const std::uint64_t distance = places[nth].offset - places[nth - 1].offset;
        const auto first = std::ranges::lower_bound(pairs, distance, {}, &PiecePair::distance);
        const auto last = std::ranges::upper_bound(pairs, distance, {}, &PiecePair::distance);
        if (places[nth - 1].proved && static_cast<std::size_t>(last - first) <= kMostAlike) {
            std::transform(first, last, std::back_inserter(votes),
                           [&](const PiecePair& pair) { return places[nth - 1].offset - pair.offset; });
        }
    }
    std::ranges::sort(votes);
    return votes;
}

} // namespace

std::vector<std::uint64_t> find_displacements(std::span<const Extent> named,
                                              std::span<const CodedPlace> places) {
    struct Found {
        std::size_t pairs = 0;
        std::uint64_t displacement = 0;
    };
    const auto votes = list_votes(list_pairs(named), places);
    std::vector<Found> found;
    for (auto at = votes.begin(); at != votes.end();) {
        const auto next = std::upper_bound(at, votes.end(), *at);
        if (const auto pairs = static_cast<std::size_t>(next - at); pairs >= kLeastPairs) {
            found.push_back({pairs, *at});
        }
        at = next;
    }
    std::ranges::stable_sort(found, std::ranges::greater(), &Found::pairs);
    found.resize(std::min(found.size(), kMostDisplacements));
    std::vector<std::uint64_t> displacements;
    displacements.reserve(found.size());
    for (const Found& one : found) {
        displacements.push_back(one.displacement);
    }
    return displacements;
}

} // namespace raw_mend
