#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs DNG, as far as the main image is stored in two tiles or more.
///
/// The output is the sample up to its first tile, with the starts of its previews zeroed and its tile tables
/// rewritten for the damaged file's tiles, then these tiles as one block. Of the damaged file nothing but the
/// main image's NewSubfileType entry, the two tile entries behind it with their lists, and the tiles must be
/// alive; its header is not read. The tiles are taken to lie end to end in the order of the list.
class DngRepair final : public AbstractRepair {
  public:
    /// Codes: 0, PLATE_MEND_DNG_*. The temporary file is "temp.dng"; it stays after a failure from the
    /// sample stage on. Throws as AbstractRepair tells.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
