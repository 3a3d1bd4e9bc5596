#include "locate/Anchors.h"

#include <algorithm>
#include <bitset>
#include <cstring>
#include <functional>
#include <map>

namespace raw_mend {

namespace {

constexpr std::size_t kAnchor = 32;         ///< Bytes that are looked for.
constexpr std::size_t kMostAnchors = 16;    ///< That are looked for.
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

/// Finds all anchors in one pass.
class Votes {
  public:
    Votes(Bytes sample, const std::vector<std::uint64_t>& anchors) : sample_(sample), may_begin_(kKeys) {
        for (const std::uint64_t anchor : anchors) {
            anchors_.push_back({anchor, key_at(sample, static_cast<std::size_t>(anchor)), 0});
            may_begin_[anchors_.back().key] = true;
        }
    }

    void count(Bytes damaged) {
        for (std::size_t at = 0; at + kAnchor <= damaged.size(); ++at) {
            if (const std::size_t key = key_at(damaged, at); may_begin_[key]) {
                count_at(damaged, at, key);
            }
        }
    }

    /// The displacements, the one with the most votes first.
    [[nodiscard]] std::vector<std::int64_t> ranked() {
        std::vector<std::int64_t> found;
        found.reserve(votes_.size());
        for (const auto& [displacement, count] : votes_) {
            found.push_back(displacement);
        }
        std::ranges::stable_sort(found, std::ranges::greater(),
                                 [&](std::int64_t displacement) { return votes_[displacement]; });
        return found;
    }

  private:
    static constexpr std::size_t kKeys = 1U << 16U;

    struct Anchor {
        std::uint64_t at = 0;
        std::size_t key = 0;
        std::size_t places = 0; // That it was found at.
    };

    static std::size_t key_at(Bytes bytes, std::size_t at) {
        std::uint64_t number = 0;
        std::memcpy(&number, bytes.data() + at, sizeof(number));
        return static_cast<std::size_t>(number * 0x9E3779B97F4A7C15U >> 48U);
    }

    void count_at(Bytes damaged, std::size_t at, std::size_t key) {
        for (Anchor& anchor : anchors_) {
            const bool is_there =
                anchor.key == key && anchor.places < kMostPlaces &&
                std::ranges::equal(damaged.subspan(at, kAnchor), Extent{anchor.at, kAnchor}.of(sample_));
            if (is_there) {
                ++anchor.places;
                ++votes_[static_cast<std::int64_t>(at) - static_cast<std::int64_t>(anchor.at)];
            }
        }
    }

    Bytes sample_;
    std::vector<Anchor> anchors_;
    std::vector<bool> may_begin_; // By key.
    std::map<std::int64_t, std::size_t> votes_;
};

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
    Votes votes(sample, choose_anchors(sample, parts));
    votes.count(damaged);
    return votes.ranked();
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
