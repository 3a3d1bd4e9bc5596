#include "Salvage.h"

#include "Hypotheses.h"
#include "Landmarks.h"
#include "Orphans.h"

#include <algorithm>

namespace still_mend {

namespace {

/// What an Exif thumbnail has; some cameras put larger ones beside their maker notes.
constexpr std::uint64_t kTinyPixels = std::uint64_t{160} * 120;
constexpr std::uint64_t kThumbnailPixels = std::uint64_t{640} * 480;

bool is_thumbnail(const Candidate& candidate) {
    const std::uint64_t size = claimed_pixels(candidate);
    return candidate.offset > 0 && (size <= kTinyPixels || (candidate.nested && size <= kThumbnailPixels));
}

/// Keeps the better of what it is shown, thumbnails apart.
class Ranking {
  public:
    void show(Assessment&& assessment) {
        if (!assessment.deliverable()) {
            return;
        }
        auto& best = is_thumbnail(assessment.hypothesis.candidate) ? thumbnail_ : picture_;
        if (!best || assessment.score() > best->score()) {
            best = std::move(assessment);
        }
    }

    /// Whether a picture of so many pixels could still be the best.
    [[nodiscard]] bool can_win(const Candidate& candidate) const {
        return !picture_ || !candidate.frame ||
               candidate.frame->mcus() * candidate.frame->mcu_area() > picture_->score();
    }

    [[nodiscard]] std::optional<Find> best() && {
        if (picture_) {
            return Find{std::move(*picture_), false};
        }
        if (thumbnail_) {
            return Find{std::move(*thumbnail_), true};
        }
        return std::nullopt;
    }

  private:
    std::optional<Assessment> picture_;
    std::optional<Assessment> thumbnail_;
};

/// What may be decoded of one file altogether, in bytes of it. Candidates that share bytes spend it.
class Budget {
  public:
    explicit Budget(std::size_t size) : left_(16 * size + (1U << 20U)) {}
    bool spend(std::size_t bytes) {
        if (bytes > left_) {
            return false;
        }
        left_ -= bytes;
        return true;
    }

  private:
    std::size_t left_;
};

} // namespace

std::optional<Find> find_best(Bytes file) {
    std::vector<Candidate> candidates = find_candidates(file, find_landmarks(file));
    const std::vector<Candidate> siblings = find_siblings(candidates);
    std::vector<const Candidate*> order;
    order.reserve(candidates.size());
    for (const auto& candidate : candidates) {
        order.push_back(&candidate);
    }
    std::stable_sort(order.begin(), order.end(), [](const Candidate* a, const Candidate* b) {
        return claimed_pixels(*a) > claimed_pixels(*b);
    });
    Ranking ranking;
    Budget budget(file.size());
    std::vector<Range> covered;
    for (const Candidate* candidate : order) {
        std::optional<Assessment> best;
        if (ranking.can_win(*candidate)) {
            for (const auto& hypothesis : complete_header(file, *candidate, siblings)) {
                if ((best && best->whole) || !budget.spend(candidate->limit - candidate->entropy)) {
                    break;
                }
                Assessment assessment = assess(file, hypothesis);
                if (!best ||
                    (assessment.deliverable() && (!best->deliverable() || assessment.own > best->own))) {
                    best = std::move(assessment);
                }
            }
        }
        if (best && best->deliverable()) {
            covered.push_back({candidate->offset, best->end});
            ranking.show(std::move(*best));
        } else if (candidate->scan_offset) {
            covered.push_back({candidate->offset, candidate->entropy});
        }
    }
    for (const auto& orphan : find_orphans(file, covered, siblings)) {
        if (!ranking.can_win(orphan.candidate) ||
            !budget.spend(orphan.candidate.limit - orphan.candidate.entropy)) {
            continue;
        }
        ranking.show(assess(file, orphan));
    }
    return std::move(ranking).best();
}

} // namespace still_mend
