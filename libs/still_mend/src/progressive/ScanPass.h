#pragma once

#include "jpeg/BlockDecoder.h"
#include "progressive/IntervalPlaces.h"
#include "progressive/PictureInProgress.h"
#include "progressive/ScanLayout.h"

#include <cstddef>
#include <vector>

namespace still_mend {

/// Reads one scan into a picture.
class ScanPass {
  public:
    /// All tables that the scan needs must be there. Both must outlive the pass.
    ScanPass(PictureInProgress& picture, const ScanSource& source);

    /// What became of the scan: offsets in the file.
    struct Outcome {
        bool whole = false;
        std::size_t end = 0;       ///< The marker at which the scan ends.
        std::size_t first_bad = 0; ///< About where it is damaged, unless it is whole.
    };

    /// Decodes the scan. refining: the scan that refines it next, if that is whole; otherwise null.
    Outcome read(const ScanSource* refining);

    /// Whether eight intervals of the scan are lost, or a multiple, without a gap in the numbers of the
    /// markers. Where they are missing shows best when all else of the picture is there.
    [[nodiscard]] bool has_hidden_loss() const;

  private:
    [[nodiscard]] std::size_t find_interval();
    Outcome read_intervals(const std::vector<IntervalPlace>& places);

    PictureInProgress& picture_;
    const ScanSource& source_;
    ScanLayout layout_;
    BlockDecoder decoder_;
};

} // namespace still_mend
