#include "locate/CodeChains.h"

#include <algorithm>
#include <array>

namespace raw_mend {

namespace {

constexpr std::uint64_t kNever = std::uint64_t{1} << 62U; ///< Codes to the place, where no chain leads there.
constexpr std::uint64_t kMostAfter = 24;                  ///< Codes that may end after the place.
constexpr std::size_t kRing = 64;                         ///< More bits than any code has.
constexpr std::size_t kMostChainStarts = 256;

/// How many codes are from each of the last bits that were visited to the place.
class Counts {
  public:
    explicit Counts(const DifferenceCodes& codes) : codes_(codes) {}

    /// Visits the bits of a byte from the last to the first, and returns the count at the first.
    std::uint64_t visit_byte(Bytes file, std::size_t at) {
        const std::uint32_t next =
            at_or_zero(file, at) << 16U | at_or_zero(file, at + 1) << 8U | at_or_zero(file, at + 2);
        for (unsigned bit = 8; bit-- > 0;) {
            constexpr std::uint32_t kMask = (1U << DifferenceCodes::kLookup) - 1;
            const unsigned step = codes_.step(next >> (24 - DifferenceCodes::kLookup - bit) & kMask);
            first_ = (first_ + kRing - 1) % kRing;
            counts_[first_] = step == 0 ? kNever : std::min(counts_[(first_ + step) % kRing] + 1, kNever);
        }
        return counts_[first_];
    }

    /// Whether all chains from here on have more codes than this.
    [[nodiscard]] bool are_beyond(std::uint64_t count) const {
        return *std::ranges::min_element(counts_) > count;
    }

  private:
    static std::uint32_t at_or_zero(Bytes file, std::size_t at) { return at < file.size() ? file[at] : 0U; }

    const DifferenceCodes& codes_;
    std::array<std::uint64_t, kRing> counts_{}; // By bit; the bits at and after the place have 0.
    std::size_t first_ = 0;                     // Of the bit that was visited last.
};

} // namespace

std::vector<std::uint64_t> find_chain_starts(Bytes file, std::uint64_t place, const DifferenceCodes& codes,
                                             std::uint64_t count) {
    std::vector<std::uint64_t> starts;
    Counts counts(codes);
    for (auto at = static_cast<std::size_t>(std::min<std::uint64_t>(place, file.size())); at-- > 0;) {
        const std::uint64_t found = counts.visit_byte(file, at);
        if (found <= count && found + kMostAfter >= count && starts.size() < kMostChainStarts) {
            starts.push_back(at);
        }
        if (at % kRing == 0 && counts.are_beyond(count)) {
            break;
        }
    }
    return starts;
}

} // namespace raw_mend
