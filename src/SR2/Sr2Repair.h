#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs Sony SR2.
///
/// The output is the sample up to its image, with the byte count of the damaged file's strip put in and the
/// starts of the two previews zeroed, then the damaged file from its image to its end. Of the damaged file
/// nothing but a run of 60 bytes, StripOffsets to StripByteCounts, and the image must be alive; its header is
/// not read.
class Sr2Repair final : public AbstractRepair {
  public:
    /// Codes: 0, PLATE_MEND_SR2_*. The temporary file is "temp.sr2"; it stays after a failure from the
    /// sample stage on. Throws as AbstractRepair tells.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
