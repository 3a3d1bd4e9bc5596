#pragma once

namespace still_mend::marker {

// The byte after FF (ITU-T T.81, table B.1).
inline constexpr unsigned char kSof0 = 0xC0;
inline constexpr unsigned char kSof1 = 0xC1;
inline constexpr unsigned char kSof2 = 0xC2;
inline constexpr unsigned char kDht = 0xC4;
inline constexpr unsigned char kSof9 = 0xC9;
inline constexpr unsigned char kSof10 = 0xCA;
inline constexpr unsigned char kRst0 = 0xD0;
inline constexpr unsigned char kRst7 = 0xD7;
inline constexpr unsigned char kSoi = 0xD8;
inline constexpr unsigned char kEoi = 0xD9;
inline constexpr unsigned char kSos = 0xDA;
inline constexpr unsigned char kDqt = 0xDB;
inline constexpr unsigned char kDri = 0xDD;
inline constexpr unsigned char kApp0 = 0xE0;
inline constexpr unsigned char kApp1 = 0xE1;
inline constexpr unsigned char kApp15 = 0xEF;
inline constexpr unsigned char kCom = 0xFE;

[[nodiscard]] constexpr bool is_restart(unsigned char code) {
    return code >= kRst0 && code <= kRst7;
}
[[nodiscard]] constexpr bool is_application(unsigned char code) {
    return code >= kApp0 && code <= kApp15;
}
/// A frame that can be salvaged: baseline, extended or progressive, Huffman coded. The lossless SOF3 of a raw
/// strip cannot.
[[nodiscard]] constexpr bool is_picture_frame(unsigned char code) {
    return code >= kSof0 && code <= kSof2;
}

[[nodiscard]] constexpr bool is_arithmetic(unsigned char code) {
    return code == kSof9 || code == kSof10;
}

} // namespace still_mend::marker
