#pragma once

#include "mend/StreamLevels.h"

namespace raw_mend {

/// Vertical slices of a picture that follow one another in a stream, each row by row.
class StreamSlices {
  public:
    StreamSlices() = default;
    /// The widths are in values. One slice of all the stream if they are not that together; its rows are
    /// two to a lag.
    StreamSlices(std::span<const std::uint32_t> widths, std::size_t height, const StreamFrame& frame,
                 std::size_t lag);

    [[nodiscard]] std::size_t count() const { return widths_.size(); }
    [[nodiscard]] std::size_t height() const { return height_; }
    [[nodiscard]] std::size_t width(std::size_t slice) const { return widths_[slice]; }
    /// The value at a place in a slice.
    [[nodiscard]] std::size_t at(std::size_t slice, std::size_t column, std::size_t row) const {
        return begins_[slice] + row * widths_[slice] + column;
    }
    /// The rows of the stream in the slice that a row is in, from the first to the last that are all of it;
    /// all rows if there are no slices.
    [[nodiscard]] std::pair<std::size_t, std::size_t> rows_around(std::size_t row,
                                                                  const StreamFrame& frame) const;

  private:
    std::vector<std::size_t> widths_;
    std::vector<std::size_t> begins_;
    std::size_t height_ = 0;
};

/// What is known of a row of a stream.
enum class RowState : unsigned char {
    kLost,
    kKnown, ///< Its values are at their level.
    kRun,   ///< They are all as far from it as those of the other rows of the run.
};

/// Compares rows of a run with those beside them in the slice on the left that are known: each side is
/// continued to the seam, and its step in rows that are known on both sides is taken off. Like comparisons
/// within the slices show how far the result can be trusted. Nothing if there are too few rows.
[[nodiscard]] std::optional<LevelEstimate> measure_seam(const StreamFrame& frame, const StreamSlices& slices,
                                                        std::span<const std::uint16_t> values,
                                                        std::span<const RowState> states);

} // namespace raw_mend
