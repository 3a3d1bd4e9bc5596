#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs Canon CR2.
///
/// The output is the sample up to its raw data, with the pictures of its first three directories spoiled,
/// then the damaged file from its raw data to its end. No table is rewritten: the byte count in the output
/// stays the sample's. Of the damaged file nothing but the strip entries of the raw image's directory and
/// the raw data must be alive; its header is not read.
class Cr2Repair final : public AbstractRepair {
  public:
    /// Codes: 0, PLATE_MEND_CR2_*. The temporary file is "temp.cr2"; it stays after a failure from the
    /// sample stage on. A failed write of the output is not noticed. Throws as AbstractRepair tells.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
