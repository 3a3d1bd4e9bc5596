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
          traces_(frame_, interleaved(), assessment.hypothesis.candidate.tables) {
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

    /// The MCUs with detail that fit.
    [[nodiscard]] std::size_t fitting(double usual) const {
        const double bound = rough_step(usual);
        const std::size_t wide = frame_.mcus_wide();
        std::size_t count = 0;
        for (std::size_t position = wide; position < detail_.size(); ++position) {
            count += detail_[position] && fits(position - wide, position, bound) ? 1U : 0U;
        }
        return count;
    }

  private:
    [[nodiscard]] Scan interleaved() const {
        Scan scan;
        for (std::size_t index = 0; index < frame_.components.size(); ++index) {
            scan.components.push_back({index, 0, 0});
        }
        return scan;
    }

    [[nodiscard]] bool fits(std::size_t above, std::size_t below, double bound) const {
        for (std::size_t component = 1; component < traces_.components(); ++component) {
            if (std::abs(traces_.level_down(above, below, component)) > kMostLevelStep) {
                return false;
            }
        }
        return traces_.step_down(above, below) < bound;
    }

    const Frame& frame_;
    McuTraces traces_;
    std::vector<bool> detail_;
};

} // namespace

std::optional<Assessment> find_better_decode(Bytes file, const Assessment& assessed) {
    const PictureCandidate& candidate = assessed.hypothesis.candidate;
    auto plain = assess_leniently(file, candidate);
    if (!plain || plain->total != assessed.total) {
        return std::nullopt;
    }
    double usual = 0;
    std::size_t own = 0;
    if (assessed.deliverable()) {
        const Coherence coherence(assessed, decode_picture(file, assessed));
        usual = coherence.usual_step();
        own = coherence.fitting(usual);
    }
    const Coherence coherence(*plain, decode_picture(file, *plain));
    usual = usual == 0 ? coherence.usual_step() : usual;
    if (coherence.fitting(usual) <= own + assessed.total / kClearGain) {
        return std::nullopt;
    }
    // What comes before the first damage is the same in both.
    plain->own = candidate.frame->progressive() ? 0 : std::min(assessed.own, plain->guessed);
    plain->guessed -= plain->own;
    plain->noise = plain->noise && !assessed.deliverable();
    return plain;
}

} // namespace still_mend
