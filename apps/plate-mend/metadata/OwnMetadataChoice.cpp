#include "metadata/OwnMetadataChoice.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string>
#include <utility>

namespace plate_mend::host {

namespace {

/// Previews that are decoded for one block: the one around it, or those of a head.
constexpr std::size_t kMostPreviewsOfBlock = 4;
/// Previews that are decoded for all. Photographs have metadata in three or fewer.
constexpr std::size_t kMostPreviews = 16;

/// How sure it is that a block is the photograph's own.
enum class Standing { kDenied, kOpen, kPreview, kTables };

struct Candidate {
    const MetadataBlock* block = nullptr;
    Standing standing = Standing::kOpen;
    std::string date; ///< Up to the second; empty: none.
};

std::string date_of(const CameraFacts& facts) {
    constexpr std::size_t kUpToSecond = 19;
    const auto taken = facts.find(CameraFact::kTaken);
    return taken == facts.end() ? "" : taken->second.substr(0, kUpToSecond);
}

bool leads_to(const MetadataBlock& block, const ImagePlace& image) {
    constexpr std::uint64_t kReach = 65536;
    return std::ranges::any_of(block.images, [&](std::uint64_t place) {
        return image.is_exact ? place == image.offset
                              : place >= image.offset && place - image.offset < kReach;
    });
}

class Choice {
  public:
    Choice(const std::optional<ImagePlace>& image, const ShowsPhotograph& shows_photograph)
        : image_(image), shows_photograph_(shows_photograph) {}

    std::optional<OwnMetadata> run(const std::vector<MetadataBlock>& blocks) {
        for (const MetadataBlock& block : blocks) {
            candidates_.push_back({&block, standing_of(block), date_of(block.facts)});
        }
        const auto date = choose_date();
        if (!date) {
            return std::nullopt;
        }
        std::erase_if(candidates_, [&](const Candidate& one) {
            return one.date.empty() ? one.standing < Standing::kPreview
                                    : one.standing == Standing::kDenied || one.date != *date;
        });
        // The surest first, and of these the one with a date.
        std::ranges::stable_sort(candidates_, [](const Candidate& one, const Candidate& other) {
            return std::pair(one.standing, !one.date.empty()) >
                   std::pair(other.standing, !other.date.empty());
        });
        return candidates_.empty() ? std::nullopt : std::optional(merge());
    }

  private:
    Standing standing_of(const MetadataBlock& block) {
        if (image_ && leads_to(block, *image_)) {
            return Standing::kTables;
        }
        if (const auto shown = ask_previews(block)) {
            return *shown ? Standing::kPreview : Standing::kDenied;
        }
        const bool is_before = image_ && block.offset < image_->offset;
        return is_before && !block.has_raw_image ? Standing::kOpen : Standing::kDenied;
    }

    /// One that shows the photograph is proof, whatever the others show.
    std::optional<bool> ask_previews(const MetadataBlock& block) {
        std::optional<bool> shown;
        for (std::size_t nth = 0; nth < std::min(block.jpegs.size(), kMostPreviewsOfBlock); ++nth) {
            if (previews_++ == kMostPreviews) {
                --previews_;
                break;
            }
            const auto one = shows_photograph_(block.jpegs[nth]);
            shown = one ? std::optional(*one || shown.value_or(false)) : shown;
        }
        return shown;
    }

    /// Empty where only metadata without a date are proved; nothing where dates differ.
    [[nodiscard]] std::optional<std::string> choose_date() const {
        for (const Standing standing : {Standing::kTables, Standing::kPreview}) {
            const auto dates =
                dates_of([standing](const Candidate& one) { return one.standing == standing; });
            if (!dates.empty()) {
                return dates.size() == 1 ? std::optional(*dates.begin()) : std::nullopt;
            }
        }
        const auto all = dates_of([](const Candidate&) { return true; });
        const auto open = dates_of([](const Candidate& one) { return one.standing == Standing::kOpen; });
        return open.size() == 1 && all.size() == 1 ? *open.begin() : "";
    }

    template <typename Condition>
    [[nodiscard]] std::set<std::string> dates_of(const Condition& condition) const {
        std::set<std::string> dates;
        for (const Candidate& candidate : candidates_) {
            if (!candidate.date.empty() && condition(candidate)) {
                dates.insert(candidate.date);
            }
        }
        return dates;
    }

    /// The surest block has the last word; where two that are as sure differ, nobody knows.
    [[nodiscard]] OwnMetadata merge() const {
        const MetadataBlock& first = *candidates_.front().block;
        OwnMetadata own{.facts = {}, .source = first.source, .offset = first.offset};
        std::set<CameraFact> disputed;
        std::map<CameraFact, Standing> standings;
        for (const Candidate& candidate : candidates_) {
            for (const auto& [fact, text] : candidate.block->facts) {
                const auto [known, is_new] = own.facts.emplace(fact, text);
                if (is_new) {
                    standings[fact] = candidate.standing;
                } else if (fact == CameraFact::kTaken) {
                    known->second = std::max(known->second, text); // Up to the second they are the same.
                } else if (known->second != text && standings[fact] == candidate.standing) {
                    disputed.insert(fact);
                }
            }
        }
        for (const CameraFact fact : disputed) {
            own.facts.erase(fact);
        }
        return own;
    }

    const std::optional<ImagePlace>& image_;
    const ShowsPhotograph& shows_photograph_;
    std::vector<Candidate> candidates_;
    std::size_t previews_ = 0;
};

} // namespace

std::optional<OwnMetadata> choose_own_metadata(const std::vector<MetadataBlock>& blocks,
                                               const std::optional<ImagePlace>& image,
                                               const ShowsPhotograph& shows_photograph) {
    auto own = Choice(image, shows_photograph).run(blocks);
    return own && !own->facts.empty() ? own : std::nullopt;
}

} // namespace plate_mend::host
