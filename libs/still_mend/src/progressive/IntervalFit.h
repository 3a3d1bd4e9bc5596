#pragma once

#include "fit/BlockBorders.h"
#include "jpeg/BlockDecoder.h"
#include "jpeg/CoefficientStore.h"
#include "jpeg/UnitGrid.h"
#include "progressive/BlockProgress.h"
#include "progressive/IntervalPath.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace still_mend {

/// Measures how well the intervals of a scan fit what other scans of the picture contained, in each of
/// several places. What a scan adds to existing coefficients makes the steps across the borders between
/// blocks smaller in the right place: brightness follows the slopes of its neighbours, and waves continue in
/// them. Anywhere else it makes them smaller or larger by chance, as its negative would. A scan that refines
/// coefficients can only be read in the right place, since its bits count those that are there; and where
/// they are not in the right place, the scan that refines them cannot be read.
class IntervalFit {
  public:
    /// shifts: in units, by state. Everything that is referred to must outlive this object.
    IntervalFit(const Frame& frame, const Scan& scan, const Tables& tables, const CoefficientStore& store,
                const std::vector<BlockProgress>& progress, std::vector<std::size_t> shifts);

    /// A scan of the same units that refines what this one adds, none of whose intervals is lost.
    struct Refining {
        const Scan& scan;
        const Tables& tables;
        std::vector<BitReader> starts; ///< At its intervals.
    };
    void check_with(Refining refining);

    /// What is known of an interval, by state from the lowest bit: whether its bits end where they must, and
    /// whether those that refine it do.
    struct Closing {
        std::uint8_t own = 0;
        std::uint8_t refining = 0xFF;
    };

    /// Reads the next interval: at most this many units, the first of which is the given one without a shift.
    /// Appends to the fits.
    [[nodiscard]] Closing read(BlockDecoder& decoder, const BitReader& start, std::size_t first,
                               std::size_t interval);

    /// The fits of all intervals that were read.
    [[nodiscard]] const PathFits& fits() const { return fits_; }

  private:
    /// One border of a block: what other scans contained, and what this one adds.
    struct Border {
        BorderSamples there{};
        BorderSamples added{};
    };
    /// What is kept of a block for its neighbours.
    struct Trace {
        std::uint32_t row = 0;
        std::uint32_t interval = 0; // By the order of reading, from 1 on; 0 for none.
        Border right;
        Border bottom;
    };
    using Added = std::array<BlockBorders, kMaxBlocksPerMcu>;

    std::uint8_t read_adding(BlockDecoder& decoder, BitReader reader, std::size_t first,
                             std::size_t interval);
    bool read_refining(BlockDecoder& decoder, BitReader reader, std::size_t first,
                       std::size_t interval) const;
    [[nodiscard]] bool is_refined(std::size_t first, std::size_t interval);
    void compare(std::size_t state, std::size_t unit, const Added& added);
    void compare_block(std::size_t state, std::size_t index, std::size_t row, std::size_t column,
                       const BlockBorders& added);
    /// The fit between this interval and another goes to the others.
    void add_fit(std::vector<float>& others, std::size_t state, std::uint32_t interval, double fit);
    [[nodiscard]] static double fit_of(const Border& first, const Border& second);
    [[nodiscard]] std::size_t units_from(std::size_t first, std::size_t interval) const {
        return first >= units_ ? 0 : std::min(interval, units_ - first);
    }

    const Frame& frame_;
    const Scan& scan_;
    const CoefficientStore& store_;
    const std::vector<BlockProgress>& progress_;
    UnitGrid grid_;
    std::size_t units_;
    std::vector<std::size_t> shifts_;
    std::vector<std::array<std::uint16_t, 64>> quant_;      // By component of the frame, natural order.
    std::vector<std::array<std::vector<Trace>, 4>> traces_; // By state and component: rows of an MCU.
    std::uint32_t interval_ = 0;                            // The one that is read, from 1 on.
    PathFits fits_;
    std::optional<Refining> refining_;
    std::optional<BlockDecoder> refiner_;
    std::vector<Block> added_; // Blocks of the interval that is read, if there is such a scan.
};

} // namespace still_mend
