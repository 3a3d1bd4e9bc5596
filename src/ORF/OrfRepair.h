#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs Olympus ORF.
///
/// The output is the sample up to its image, with the byte count of the damaged file's strip and the first 30
/// bytes of every JPEG zeroed, followed by the damaged file from its image to its end. The damaged file needs
/// only the 60 bytes from StripOffsets through StripByteCounts and its image; its header is not read. A
/// sample with a second directory after IFD 0 is refused.
class OrfRepair final : public AbstractRepair {
  public:
    /// Returns 0 or PLATE_MEND_ORF_*. The temporary file is "temp.orf"; it stays when the repair fails after
    /// the sample was copied. Throws what AbstractRepair lists.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
