#pragma once

#include "header/HeaderMarkers.h"
#include "jpeg/MarkerSegments.h"

#include <optional>
#include <vector>

namespace still_mend {

/// Bytes of the file, by their offsets.
struct Range {
    std::size_t first = 0;
    std::size_t last = 0; ///< One after.
    [[nodiscard]] std::size_t size() const { return last - first; }
};

/// What survives of the header of one picture in the file, up to and including its first SOS.
struct PictureCandidate {
    std::size_t offset = 0;      ///< That of its SOI, or of its first surviving segment.
    bool has_soi = false;        ///< Its SOI survives.
    bool nested = false;         ///< It is in an application segment of another: a thumbnail.
    bool other_process = false;  ///< Lossless, or another frame that cannot be salvaged. Only marks a border.
    bool arithmetic = false;     ///< That process is arithmetic coding, which libjpeg decodes.
    bool of_sample = false;      ///< It is in the sample, not in the damaged file.
    bool damaged_header = false; ///< Something between the first segment and SOS could not be read.
    Tables tables;
    std::optional<Frame> frame;
    std::optional<Scan> scan;              ///< If frame and SOS survive.
    std::optional<std::size_t> sos_offset; ///< That of SOS.
    std::size_t entropy = 0;               ///< First byte of entropy-coded data, if SOS survives.
    std::size_t limit = 0;           ///< Its data end before this: the next picture, or the end of the file.
    std::vector<Range> applications; ///< Whole APPn and COM segments.
};

/// Combines header markers into candidates, in the order of the file. Pictures whose SOI is lost begin at the
/// first of their segments that is left. Steps are bounded by a constant times the file's size.
[[nodiscard]] std::vector<PictureCandidate> find_candidates(Bytes file,
                                                            const std::vector<HeaderMarker>& markers);

} // namespace still_mend
