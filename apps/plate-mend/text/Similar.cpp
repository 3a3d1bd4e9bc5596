#include "text/Similar.h"

#include <algorithm>
#include <cstddef>

namespace plate_mend::host {

namespace {

/// How many letters have to be added, left out, replaced, or swapped with their neighbour.
std::size_t distance(std::string_view one, std::string_view other) {
    std::vector<std::vector<std::size_t>> steps(one.size() + 1, std::vector<std::size_t>(other.size() + 1));
    for (std::size_t i = 0; i <= one.size(); ++i) {
        for (std::size_t j = 0; j <= other.size(); ++j) {
            if (i == 0 || j == 0) {
                steps[i][j] = i + j;
                continue;
            }
            const std::size_t replaced = steps[i - 1][j - 1] + (one[i - 1] == other[j - 1] ? 0U : 1U);
            steps[i][j] = std::min({replaced, steps[i - 1][j] + 1, steps[i][j - 1] + 1});
            const bool swapped = i > 1 && j > 1 && one[i - 1] == other[j - 2] && one[i - 2] == other[j - 1];
            if (swapped) {
                steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
            }
        }
    }
    return steps[one.size()][other.size()];
}

} // namespace

std::string most_similar(std::string_view mistyped, const std::vector<std::string>& words) {
    std::string best;
    std::size_t least = mistyped.size() / 3 + 1;
    for (const std::string& word : words) {
        if (const std::size_t steps = distance(mistyped, word); steps < least) {
            least = steps;
            best = word;
        }
    }
    return best;
}

} // namespace plate_mend::host
