#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs DNG files whose main image is stored in two tiles or more.
///
/// The output is the sample up to its first tile, with the starts of its previews zeroed and its tile tables
/// rewritten for the damaged file's tiles, followed by these tiles as one block. The damaged file needs only
/// the main image's NewSubfileType entry, the two tile entries after it with their lists, and the tiles; its
/// header is not read. The tiles are assumed to follow one another without gaps in the order of the list.
class DngRepair final : public AbstractRepair {
  public:
    /// Returns 0 or PLATE_MEND_DNG_*. The temporary file is "temp.dng"; it stays when the repair fails after
    /// the sample was copied. Throws what AbstractRepair lists.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
