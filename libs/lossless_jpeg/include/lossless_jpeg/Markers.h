#pragma once

namespace lossless_jpeg {

// The byte after FF (ITU-T T.81, table B.1).
inline constexpr unsigned kTem = 0x01;
inline constexpr unsigned kSof0 = 0xC0;
inline constexpr unsigned kSof3 = 0xC3;
inline constexpr unsigned kDht = 0xC4;
inline constexpr unsigned kDac = 0xCC;
inline constexpr unsigned kSof15 = 0xCF;
inline constexpr unsigned kRst0 = 0xD0;
inline constexpr unsigned kRst7 = 0xD7;
inline constexpr unsigned kSoi = 0xD8;
inline constexpr unsigned kEoi = 0xD9;
inline constexpr unsigned kSos = 0xDA;
inline constexpr unsigned kDri = 0xDD;

[[nodiscard]] inline bool is_restart(unsigned code) {
    return code >= kRst0 && code <= kRst7;
}

/// Whether the marker begins a segment: it is followed by a length.
[[nodiscard]] inline bool has_length(unsigned code) {
    return code > kTem && code != 0xFF && (code < kRst0 || code > kEoi);
}

/// Whether the marker is a SOF other than SOF3, or JPG.
[[nodiscard]] inline bool is_other_frame(unsigned code) {
    return code >= kSof0 && code <= kSof15 && code != kSof3 && code != kDht && code != kDac;
}

} // namespace lossless_jpeg
