#include "judge/signs/Noise.h"

#include <algorithm>
#include <utility>

namespace plate_mend::host {

namespace {

/// Mean step of noise, as a share of the range. Uniform noise has 0.33. Measured, the highest of each
/// picture: up to 0.11 in the tests' scenes; in ten whole camera files, up to 0.10 in eight and 0.18 in one.
/// The tenth has 0.21.
constexpr double kRough = 0.2;

/// The same for coded data that decode exactly, which noise among them hardly ever leaves so.
constexpr double kRoughIfExact = 0.26;

/// Samples that are rough together; fine detail may be rough for a few. A block of 512 random bytes, as the
/// tests put one into every format, is longer.
constexpr std::size_t kTogether = 48;

/// The longest run of rough windows in a row, in samples.
std::size_t longest_rough_run(const Windows& windows, std::size_t y, double limit) {
    std::size_t run = 0;
    std::size_t longest = 0;
    for (std::size_t index = 0; index < windows.per_row(); ++index) {
        run = windows.at(y, index).rough >= limit ? run + windows.width() : 0;
        longest = std::max(longest, run);
    }
    return longest;
}

} // namespace

Sign find_noise(const SensorView& view, const Windows& windows) {
    std::vector<std::size_t> rows;
    const double limit = (view.decodes_exactly ? kRoughIfExact : kRough) * view.range();
    for (std::size_t y = 0; y < view.rows; ++y) {
        if (longest_rough_run(windows, y, limit) >= kTogether) {
            rows.push_back(y);
        }
    }
    return sign_of_rows(std::move(rows), "runs as rough as noise");
}

} // namespace plate_mend::host
