#pragma once

#include "jpeg/BlockDecoder.h"
#include "progressive/PictureInProgress.h"
#include "progressive/ScanLayout.h"

#include <cstddef>

namespace still_mend {

/// Decodes the intervals of one scan into the picture.
class IntervalReader {
  public:
    /// All must outlive it.
    IntervalReader(PictureInProgress& picture, const ScanLayout& layout, BlockDecoder& decoder)
        : picture_(picture), layout_(layout), scan_(layout.source().scan), decoder_(decoder) {}

    /// What became of an interval.
    struct Result {
        std::size_t good = 0; ///< Units that were decoded, from the first on.
        bool closed = false;  ///< It ended where it must.
        bool cut = false;     ///< The file ended within it.
    };

    /// Decodes the units [first, first + count) up to the end of the segment or to what does not decode. An
    /// interval whose bits end with its last unit in spite of damage is read over the damage: the units after
    /// it are then most likely in their places.
    Result read(const EntropySegment& segment, std::size_t first, std::size_t count);

  private:
    struct OverDamage {
        std::size_t failed = 0; // Blocks.
        bool closes = false;
    };

    [[nodiscard]] bool has_broken(std::size_t first, std::size_t count) const;
    [[nodiscard]] bool closes_despite_loss(const EntropySegment& segment, std::size_t first,
                                           std::size_t count);
    OverDamage read_over_damage(const EntropySegment& segment, std::size_t first, std::size_t count,
                                bool keep);
    bool read_unit(BitReader& reader, std::size_t unit, bool stop_at_broken);

    PictureInProgress& picture_;
    const ScanLayout& layout_;
    const Scan& scan_;
    BlockDecoder& decoder_;
};

} // namespace still_mend
