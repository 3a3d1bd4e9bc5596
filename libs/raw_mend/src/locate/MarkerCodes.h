#pragma once

namespace raw_mend {

// The byte after FF (ITU-T T.81, table B.1).
inline constexpr unsigned char kRst0 = 0xD0;
inline constexpr unsigned char kRst7 = 0xD7;
inline constexpr unsigned char kSoi = 0xD8;
inline constexpr unsigned char kEoi = 0xD9;
inline constexpr unsigned char kSos = 0xDA;

} // namespace raw_mend
