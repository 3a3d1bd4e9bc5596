#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs Fujifilm RAF, for the extension raf.
///
/// The output is the sample up to its raw data, with the length of the damaged file's raw data, and with the
/// thumbnail and the high jpg data zeroed, followed by the raw data of the damaged file. That file needs only
/// the raw section's TIFF header, the entry of tag 0xF007 and the raw data; without the entry of tag 0xF008
/// the raw data are assumed to extend to its end. Truncated data are written as far as they go.
class RafRepair final : public AbstractRepair {
  public:
    /// Returns 0 or PLATE_MEND_RAF_*. The temporary file is "temp.raf"; it stays when the repair fails after
    /// the sample was copied. Throws what AbstractRepair lists.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
