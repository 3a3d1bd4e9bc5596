#include "assessment/Noise.h"

namespace still_mend {

namespace {

constexpr double kMostOfApart = 0.30;       // Step down, of that between any two places.
constexpr double kSmoothStep = 12 * kLevel; // Below this nothing is noise.
constexpr std::size_t kMinPairs = 12;

} // namespace

bool is_noise(const Canvas::Roughness& roughness) {
    if (roughness.pairs < kMinPairs) {
        return roughness.pairs_right >= kMinPairs && roughness.right > kSmoothStep;
    }
    return roughness.down > kSmoothStep && roughness.down > kMostOfApart * roughness.apart;
}

Canvas::Roughness roughness_of(const PictureCandidate& candidate, const CoefficientStore& store,
                               const std::vector<bool>& present) {
    const Frame& frame = *candidate.frame;
    Scan interleaved;
    for (std::size_t index = 0; index < frame.components.size(); ++index) {
        interleaved.components.push_back({index, 0, 0});
    }
    McuTraces traces(frame, interleaved, candidate.tables);
    Canvas canvas(traces, frame.mcus_wide(), frame.mcus());
    for (std::size_t position = 0; position < frame.mcus(); ++position) {
        if (present[position]) {
            traces.append(store.mcu(position));
            canvas.put(position, traces.size() - 1, 1);
        }
    }
    return canvas.roughness();
}

} // namespace still_mend
