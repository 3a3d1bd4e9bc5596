#include "assessment/PlainDecode.h"

#include "assessment/DecodedPicture.h"
#include "assessment/LibjpegAssessment.h"
#include "fit/Statistics.h"
#include "jpeg/SequentialAc.h"
#include "sequential/Smoothness.h"

#include <algorithm>
#include <cstdlib>

namespace still_mend {

namespace {

constexpr std::size_t kClearGain = 500;    // One MCU in this many.
constexpr int kMostLevelStep = 8 * kLevel; // Of brightness and colour, between rows.
constexpr std::size_t kStepsForUsual = 4096;

/// Whether an MCU has some detail, unlike what decoders fill up with, and unlike what zeros decode to.
bool has_detail(const Mcu& mcu, std::size_t blocks) {
    bool detail = false;
    for (std::size_t index = 0; index < blocks; ++index) {
        const auto minus_ones = std::count(mcu[index].begin() + 1, mcu[index].end(), -1);
        if (minus_ones == kAllMinusOne) {
            return false;
        }
        detail = detail || std::any_of(mcu[index].begin() + 1, mcu[index].end(),
                                       [](std::int16_t value) { return value != 0; });
    }
    return detail;
}

/// How well the MCUs of a picture fit those above them.
class Coherence {
  public:
    Coherence(const Assessment& assessment, const DecodedPicture& picture)
        : frame_(*assessment.hypothesis.candidate.frame),
          traces_(frame_, interleaved(), assessment.hypothesis.candidate.tables), present_(picture.present) {
        for (std::size_t position = 0; position < frame_.mcus(); ++position) {
            const Mcu mcu = picture.store.mcu(position);
            traces_.append(mcu);
            detail_.push_back(picture.present[position] && has_detail(mcu, frame_.blocks_per_mcu()));
        }
    }

    /// The median step from MCU to MCU in a row.
    [[nodiscard]] double usual_step() const {
        std::vector<double> steps;
        const std::size_t apart = std::max<std::size_t>(detail_.size() / kStepsForUsual, 1);
        for (std::size_t position = 1; position < detail_.size(); position += apart) {
            if (detail_[position]) {
                steps.push_back(traces_.step_right(position - 1, position));
            }
        }
        return median(steps);
    }

    [[nodiscard]] std::size_t size() const { return detail_.size(); }
    [[nodiscard]] bool is_present(std::size_t position) const { return present_[position]; }

    /// Whether an MCU has detail and fits what is above it.
    [[nodiscard]] bool fits(std::size_t position, double bound) const {
        const std::size_t wide = frame_.mcus_wide();
        return detail_[position] && position >= wide && fits_below(position - wide, position, bound);
    }

    /// Whether both have the same MCU at a position.
    [[nodiscard]] bool agrees(const Coherence& other, std::size_t position) const {
        return traces_.is_same(position, other.traces_, position);
    }

  private:
    [[nodiscard]] Scan interleaved() const {
        Scan scan;
        for (std::size_t index = 0; index < frame_.components.size(); ++index) {
            scan.components.push_back({index, 0, 0});
        }
        return scan;
    }

    [[nodiscard]] bool fits_below(std::size_t above, std::size_t below, double bound) const {
        for (std::size_t component = 1; component < traces_.components(); ++component) {
            if (std::abs(traces_.level_down(above, below, component)) > kMostLevelStep) {
                return false;
            }
        }
        return traces_.step_down(above, below) < bound;
    }

    const Frame& frame_;
    McuTraces traces_;
    std::vector<bool> present_;
    std::vector<bool> detail_;
};

/// How a plain decode compares with what was assessed, in MCUs.
struct Comparison {
    std::size_t gained = 0;   ///< They fit, and were not found otherwise.
    std::size_t replaced = 0; ///< Others fit in their place.
    std::size_t common = 0;   ///< The same in both, before the first that is not.
};

Comparison compare_with(const Coherence& assessed, const Coherence& plain, double bound) {
    Comparison result;
    bool same = true;
    for (std::size_t position = 0; position < plain.size(); ++position) {
        const bool present = assessed.is_present(position);
        const bool agrees = present && assessed.agrees(plain, position);
        same = same && agrees;
        result.common += same ? 1U : 0U;
        result.gained += !present && plain.fits(position, bound) ? 1U : 0U;
        result.replaced += present && !agrees && assessed.fits(position, bound) ? 1U : 0U;
    }
    return result;
}

} // namespace

std::optional<Assessment> find_better_decode(Bytes file, const Assessment& assessed) {
    const PictureCandidate& candidate = assessed.hypothesis.candidate;
    auto plain = assess_leniently(file, candidate);
    if (!plain || plain->total != assessed.total) {
        return std::nullopt;
    }
    if (!assessed.deliverable()) {
        return plain;
    }
    const Coherence of_plain(*plain, decode_picture(file, *plain));
    const Coherence of_assessed(assessed, decode_picture(file, assessed));
    const auto compared = compare_with(of_assessed, of_plain, rough_step(of_assessed.usual_step()));
    if (compared.gained <= compared.replaced + assessed.total / kClearGain) {
        return std::nullopt;
    }
    plain->own = std::min(assessed.own, compared.common);
    plain->guessed -= std::min(plain->own, plain->guessed);
    return plain;
}

} // namespace still_mend
