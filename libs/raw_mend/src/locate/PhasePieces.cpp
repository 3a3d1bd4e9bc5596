#include "locate/PhasePieces.h"

#include <algorithm>
#include <optional>
#include <span>

namespace raw_mend {

namespace {

constexpr std::uint64_t kWindowRows = 64;
constexpr std::uint64_t kDenseWindows = 8; ///< At least so many are read, if there are.
constexpr std::uint64_t kMaxStride = 4;    ///< Windows from one that is read to the next.
constexpr std::size_t kJointWindows = 16;  ///< That are judged together, if none of them is clear alone.

/// The windows of a file that are read, and their phases.
class Windows {
  public:
    Windows(Bytes file, const RowGeometry& geometry, const RowTraits& traits)
        : file_(file), geometry_(geometry), traits_(traits), size_(kWindowRows * geometry.row_bytes) {
        const std::uint64_t all = file.size() / size_;
        stride_ = std::clamp<std::uint64_t>(all / kDenseWindows, 1, kMaxStride) * size_;
        for (std::uint64_t at = 0; at + size_ <= file.size(); at += stride_) {
            phases_.push_back(find_row_phase(window(at), geometry, traits));
        }
        judge_together();
    }

    [[nodiscard]] std::vector<PhasePiece> pieces() const {
        std::vector<PhasePiece> pieces;
        for (std::size_t i = 0; i < phases_.size(); ++i) {
            const RowPhase& found = phases_[i];
            if (!found.phase) {
                continue;
            }
            const std::uint64_t end = i * stride_ + size_;
            if (pieces.empty() || pieces.back().phase != *found.phase) {
                pieces.push_back({i * stride_, end, *found.phase, found.distance});
                continue;
            }
            pieces.back().end = end;
            pieces.back().distance = std::max(pieces.back().distance, found.distance);
        }
        return pieces;
    }

  private:
    [[nodiscard]] Bytes window(std::uint64_t at) const {
        return file_.subspan(static_cast<std::size_t>(at), static_cast<std::size_t>(size_));
    }

    /// Runs of windows whose rows fit one another, but which are not clear alone.
    void judge_together() {
        std::size_t first = 0;
        while (first < phases_.size()) {
            std::size_t last = first;
            while (last < phases_.size() && is_joint(first, last)) {
                ++last;
            }
            if (last > first + 1) {
                judge_together(first, last);
            }
            first = std::max(last, first + 1);
        }
    }

    [[nodiscard]] bool is_joint(std::size_t first, std::size_t i) const {
        return i - first < kJointWindows && phases_[i].finding == PhaseFinding::kNotDistinct &&
               phases_[i].alignment == phases_[first].alignment;
    }

    void judge_together(std::size_t first, std::size_t last) {
        std::vector<Bytes> together;
        for (std::size_t i = first; i < last; ++i) {
            together.push_back(window(i * stride_));
        }
        const RowPhase found = find_row_phase(together, geometry_, traits_);
        if (found.phase) {
            std::fill(phases_.begin() + static_cast<std::ptrdiff_t>(first),
                      phases_.begin() + static_cast<std::ptrdiff_t>(last), found);
        }
    }

    Bytes file_;
    const RowGeometry& geometry_;
    const RowTraits& traits_;
    std::uint64_t size_;
    std::uint64_t stride_ = 0;
    std::vector<RowPhase> phases_;
};

} // namespace

std::vector<PhasePiece> find_phase_pieces(Bytes file, const RowGeometry& geometry, const RowTraits& traits) {
    if (!geometry.supported()) {
        return {};
    }
    return Windows(file, geometry, traits).pieces();
}

} // namespace raw_mend
