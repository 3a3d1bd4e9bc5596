#pragma once

#include "header/PictureCandidates.h"
#include "jpeg/CoefficientStore.h"

#include <vector>

namespace still_mend {

/// What the scans of a progressive picture, or of one with one scan per component, contained.
struct MultiScanResult {
    std::vector<bool> present; ///< By MCU: the DC value of every block was decoded.
    std::vector<bool> guessed; ///< By MCU: that came from data that do not end where they must.
    std::vector<bool> coarse;  ///< By MCU: present, but not for sure with all of its detail.
    bool whole = false; ///< Every scan decoded and closed, up to EOI, with nothing skipped between them.
    bool eoi_found = false;
    std::size_t end = 0;       ///< After EOI, or after the last scan.
    std::size_t first_bad = 0; ///< Approximate offset in the file; meaningless for a whole picture.
};

/// Decodes scan after scan from the candidate's first SOS on. Tables and SOS between the scans are used
/// where they are plausible; damage between them is stepped over. The frame and the first scan must be there;
/// tables may have been completed by the caller. At most kMaxScans scans are read.
[[nodiscard]] MultiScanResult decode_scans(Bytes file, const PictureCandidate& candidate,
                                           CoefficientStore& store);

inline constexpr unsigned kMaxScans = 128;

} // namespace still_mend
