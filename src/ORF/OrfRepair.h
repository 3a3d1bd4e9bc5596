#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs Olympus ORF.
///
/// The output is the sample up to its image, with the byte count of the damaged file's strip put in and the
/// first 30 bytes of every JPEG zeroed, then the damaged file from its image to its end. Of the damaged file
/// nothing but a run of 60 bytes, StripOffsets to StripByteCounts, and the image must be alive; its header is
/// not read. A sample with a second directory behind IFD 0 is refused.
class OrfRepair final : public AbstractRepair {
  public:
    /// Codes: 0, PLATE_MEND_ORF_*. The temporary file is "temp.orf"; it stays after a failure from the
    /// sample stage on. Throws as AbstractRepair tells.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
