#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs Fujifilm RAF, for the extension raf.
///
/// The output is the sample up to its raw data, with the length of the damaged file's raw data put in, the
/// thumbnail zeroed and the high jpg data too, then the raw data of the damaged file. Of that file nothing
/// but the raw section's TIFF header, the entry of tag 0xF007 and the raw data must be alive; without the
/// entry of tag 0xF008 the raw data are taken to go on to its end. Data that are cut are written as far as
/// they go.
class RafRepair final : public AbstractRepair {
  public:
    /// Codes: 0, PLATE_MEND_RAF_*. The temporary file is "temp.raf"; it stays after a failure from the
    /// sample stage on. Throws as AbstractRepair tells.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
