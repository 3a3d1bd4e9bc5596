#pragma once

#include <cstdint>

namespace test {

/// How many bytes the library has looked at: a search counts those before its match and the match, a
/// read through the cursor its own.
inline std::uint64_t steps = 0;

} // namespace test
