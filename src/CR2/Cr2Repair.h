#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs Canon CR2.
///
/// The output is the sample up to its raw data, with the pictures of its first three directories blanked,
/// followed by the damaged file from its raw data to its end. No table is rewritten: the output keeps the
/// sample's byte count. The damaged file needs only the strip entries of the raw image's directory and the
/// raw data; its header is not read.
class Cr2Repair final : public AbstractRepair {
  public:
    /// Returns 0 or PLATE_MEND_CR2_*. The temporary file is "temp.cr2"; it stays when the repair fails after
    /// the sample was copied. Failed writes of the output go unnoticed. Throws what AbstractRepair lists.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
