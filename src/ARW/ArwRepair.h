#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs Sony ARW, for the extensions arw and raw.
///
/// The output is the sample up to its image, with the byte count of the damaged file's strip put in and the
/// starts of the three previews zeroed, then the damaged file from its image to its end. Of the damaged file
/// nothing but the three strip entries and the image must be alive; its header is not read.
class ArwRepair final : public AbstractRepair {
  public:
    /// Codes: 0, PLATE_MEND_ARW_*. The temporary file is "temp.arw"; it stays after a failure from the
    /// sample stage on. Throws as AbstractRepair tells.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
