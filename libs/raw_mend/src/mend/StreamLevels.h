#pragma once

#include "mend/StreamFrame.h"

#include <optional>

namespace raw_mend {

/// How far values after a loss are from their level, by component.
struct LevelShift {
    std::vector<int> shift; ///< To be added.
    bool is_certain =
        false; ///< Whether like differences elsewhere in the image are all much less than one half.
};

/// Compares rows before a loss with rows after it, column by column; columns that change least from row to
/// row, such as masked ones, count most. The same comparison between rows of the image that survive shows
/// how far the result can be trusted. Rows are complete, and from `first` to `last`; those lost are from
/// `lost` up to `next`. The period is that of the rows' colours. Nothing if there are too few rows.
[[nodiscard]] std::optional<LevelShift> measure_level(const StreamFrame& frame,
                                                      std::span<const std::uint16_t> values,
                                                      std::size_t period, std::size_t first, std::size_t lost,
                                                      std::size_t next, std::size_t last);

} // namespace raw_mend
