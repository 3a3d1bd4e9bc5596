#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs Nikon NEF.
///
/// The output is the sample up to its raw data, with the pictures of IFD 0 and of the first sub-directory
/// blanked, followed by the damaged file from its raw data to its end. No table is rewritten: the output
/// keeps the sample's byte count. The damaged file needs only the NewSubfileType and StripOffsets entries of
/// the raw image's directory and the raw data; its header is not read.
class NefRepair final : public AbstractRepair {
  public:
    /// Returns 0 or PLATE_MEND_NEF_*. The temporary file is "temp.nef"; it stays when the repair fails after
    /// the sample was copied. Failed writes of the output go unnoticed. Throws what AbstractRepair lists.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
