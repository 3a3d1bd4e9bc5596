#pragma once

#include "mend/LevelMarks.h"
#include "mend/StreamGreens.h"

#include <optional>
#include <span>
#include <vector>

namespace raw_mend {

/// What is to be added to the values of a run, by component, in whole levels.
struct LevelShift {
    std::vector<int> shift;
    bool is_certain = false; ///< Whether any other shifts would be much less likely.
};

/// What several estimates say together with the balance of the greens and the marks of the values.
[[nodiscard]] LevelShift combine(std::span<const LevelEstimate> estimates,
                                 const std::optional<GreenBalance>& balance, const LevelMarks& marks,
                                 std::size_t components);

} // namespace raw_mend
