#pragma once

namespace still_mend::marker {

// The byte behind FF (ITU T.81, table B.1).
inline constexpr unsigned char kBaseline = 0xC0;
inline constexpr unsigned char kExtended = 0xC1;
inline constexpr unsigned char kProgressive = 0xC2;
inline constexpr unsigned char kHuffmanTables = 0xC4;
inline constexpr unsigned char kArithmetic = 0xC9;
inline constexpr unsigned char kArithmeticProgressive = 0xCA;
inline constexpr unsigned char kRestart0 = 0xD0;
inline constexpr unsigned char kRestart7 = 0xD7;
inline constexpr unsigned char kStart = 0xD8;
inline constexpr unsigned char kEnd = 0xD9;
inline constexpr unsigned char kScan = 0xDA;
inline constexpr unsigned char kQuantTables = 0xDB;
inline constexpr unsigned char kRestartInterval = 0xDD;
inline constexpr unsigned char kApplication0 = 0xE0;
inline constexpr unsigned char kApplication1 = 0xE1;
inline constexpr unsigned char kApplication15 = 0xEF;
inline constexpr unsigned char kComment = 0xFE;

[[nodiscard]] constexpr bool is_restart(unsigned char code) {
    return code >= kRestart0 && code <= kRestart7;
}
[[nodiscard]] constexpr bool is_application(unsigned char code) {
    return code >= kApplication0 && code <= kApplication15;
}
/// A frame that is a picture for us: baseline, extended or progressive, Huffman coded. The lossless SOF3 of
/// a raw strip is none.
[[nodiscard]] constexpr bool is_picture_frame(unsigned char code) {
    return code >= kBaseline && code <= kProgressive;
}

[[nodiscard]] constexpr bool is_arithmetic(unsigned char code) {
    return code == kArithmetic || code == kArithmeticProgressive;
}

} // namespace still_mend::marker
