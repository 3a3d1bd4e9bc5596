#pragma once

#include "Bytes.h"
#include "jpeg/CoefficientStore.h"
#include "jpeg/UnitGrid.h"
#include "progressive/BlockProgress.h"

#include <cstddef>
#include <vector>

namespace still_mend {

/// A picture of several scans while these are read: its coefficients, and what each block has of them.
struct PictureInProgress {
    /// Everything that is referred to must outlive it.
    PictureInProgress(Bytes file_bytes, const Frame& frame_header, CoefficientStore& coefficients,
                      std::size_t end_of_data);

    Bytes file;
    const Frame& frame;
    CoefficientStore& store;
    std::size_t file_end;                ///< Where the data of the picture end, even within a scan.
    std::vector<BlockProgress> progress; ///< By component.
    std::size_t inferred_interval = 0;   ///< In units of a scan; 0 where none was inferred.

    /// Marks the blocks of the units [first, last) in one of the lists of BlockProgress.
    void mark(const UnitGrid& grid, std::size_t first, std::size_t last,
              std::vector<bool> BlockProgress::*list);
};

} // namespace still_mend
