#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs Sony SR2.
///
/// The output is the sample up to its image, with the byte count of the damaged file's strip and the starts
/// of the two previews zeroed, followed by the damaged file from its image to its end. The damaged file needs
/// only the 60 bytes from StripOffsets through StripByteCounts and its image; its header is not read.
class Sr2Repair final : public AbstractRepair {
  public:
    /// Returns 0 or PLATE_MEND_SR2_*. The temporary file is "temp.sr2"; it stays when the repair fails after
    /// the sample was copied. Throws what AbstractRepair lists.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
