#pragma once

#include "api/AbstractRepair.h"

namespace plate_mend {

/// Repairs Canon CR3.
///
/// The output is the sample with the damaged file's two pictures in it: all boxes, all metadata and the bytes
/// of tracks 2 and 4 come from the sample, with the starts of thumbnail and preview zeroed; the bytes of
/// tracks 1 and 3 and their lengths come from the damaged file. That file needs only:
///
///   "CRAW" preceded by the size 112, "CRAW" preceded by the size 228, and after that "CTMD"
///   between the first and the second, and between the second and the third, a "stsz" and a "co64"
///   the bytes that these describe, and one byte of the file after them
///
/// Its boxes are not read. There is no temporary file.
class Cr3Repair final : public AbstractRepair {
  public:
    /// Returns 0 or PLATE_MEND_CR3_*. Throws what AbstractRepair lists, NotFoundException when a "stsz" or
    /// "co64" is missing after its landmark, and VisitingBeyondException when the output cannot be opened. A
    /// failure leaves the output as far as it was written.
    std::int32_t AdvanceRepair(const char* damaged_file, const char* sample_file,
                               const char* output_file) override;
    std::int32_t GeneralRepair(const char* damaged_file, const char* output_file) override;
};

} // namespace plate_mend
