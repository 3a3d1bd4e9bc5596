#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs Sony ARW, for the extensions arw and raw.
///
/// The output is the sample up to its image, with the byte count of the damaged file's strip and the starts
/// of the three previews zeroed, followed by the damaged file from its image to its end. The damaged file
/// needs only its three strip entries and its image; its header is not read.
class ArwRepair final : public AbstractRepair {
  public:
    /// Returns 0 or PLATE_MEND_ARW_*. The temporary file is "temp.arw"; it stays when the repair fails after
    /// the sample was copied. Throws what AbstractRepair lists.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
