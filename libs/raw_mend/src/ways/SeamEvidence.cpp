#include "ways/SeamEvidence.h"

#include <cmath>
#include <random>
#include <utility>

namespace raw_mend {

namespace {

constexpr std::size_t kStrangers = 256;

/// Neighbours' seams differ by about so much, as TileSides measures them.
constexpr double kSpread = 0.35;

/// Of any seam, whatever the tiles: edges of things may coincide with a seam.
constexpr double kLeastDensity = 0.01;

double density_around(double middle, double seam) {
    const double distance = (seam - middle) / kSpread;
    return std::exp(-distance * distance / 2.0);
}

} // namespace

SeamEvidence::SeamEvidence(std::vector<std::optional<TileSides>> tiles) : tiles_(std::move(tiles)) {
    draw_strangers();
}

double SeamEvidence::beside(std::size_t left, std::size_t right) {
    const auto& one = tiles_[left];
    const auto& other = tiles_[right];
    if (!one || !other || !one->right || !other->left) {
        return 0;
    }
    const auto [seam, is_new] = known_.try_emplace((left * tiles_.size() + right) * 2);
    if (is_new) {
        seam->second = weigh(find_seam(*one->right, *other->left));
    }
    return seam->second;
}

double SeamEvidence::below(std::size_t upper, std::size_t lower) {
    const auto& one = tiles_[upper];
    const auto& other = tiles_[lower];
    if (!one || !other || !one->bottom) {
        return 0;
    }
    const auto [seam, is_new] = known_.try_emplace((upper * tiles_.size() + lower) * 2 + 1);
    if (is_new) {
        seam->second = weigh(find_seam(*one->bottom, other->top));
    }
    return seam->second;
}

double SeamEvidence::weigh(double seam) const {
    double sum = 0;
    for (const double stranger : strangers_) {
        sum += density_around(stranger, seam);
    }
    const double among_strangers = strangers_.empty() ? 1.0 : sum / static_cast<double>(strangers_.size());
    return std::log((density_around(0, seam) + kLeastDensity) / (among_strangers + kLeastDensity));
}

void SeamEvidence::draw_strangers() {
    std::minstd_rand random; // Always the same tiles: a repair must be repeatable.
    const auto draw = [&] { return random() % tiles_.size(); };
    for (std::size_t nth = 0; nth < kStrangers && !tiles_.empty(); ++nth) {
        const auto& one = tiles_[draw()];
        const auto& other = tiles_[draw()];
        if (one && other && &one != &other && one->bottom && one->right && other->left) {
            strangers_.push_back(nth % 2 == 0 ? find_seam(*one->bottom, other->top)
                                              : find_seam(*one->right, *other->left));
        }
    }
}

} // namespace raw_mend
