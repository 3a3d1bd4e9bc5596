#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs Canon CR3.
///
/// The output is the sample with the damaged file's two pictures in it: all boxes, all metadata and the bytes
/// of tracks 2 and 4 come from the sample, with the starts of thumbnail and preview zeroed; the bytes of
/// tracks 1 and 3 and their lengths from the damaged file. Of the damaged file there must be alive:
///
///   "CRAW" with the size 112 in front of it, "CRAW" with the size 228, and behind that "CTMD"
///   between the first and the second, and between the second and the third, a "stsz" and a "co64"
///   the bytes that these tell of, and one byte of the file behind them
///
/// Its boxes are not read. Both files are read into memory; there is no temporary file.
class Cr3Repair final : public AbstractRepair {
  public:
    /// Codes: 0, PLATE_MEND_CR3_*. Throws as AbstractRepair tells, and further NotFoundException when a
    /// "stsz" or "co64" is missing behind its landmark, VisitingBeyondException when the output does not
    /// open. After a failure nothing is removed.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
