#pragma once

#include <cstdint>

namespace raw_mend {

/// What file systems and disks lose, move and exchange whole numbers of.
inline constexpr std::uint64_t kSectorBytes = 512;
/// File systems have no smaller clusters by default.
inline constexpr std::uint64_t kClusterBytes = 4096;

} // namespace raw_mend
