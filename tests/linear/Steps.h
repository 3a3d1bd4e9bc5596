#pragma once

#include <cstdint>

namespace test {

/// How many bytes the library has read: a search counts those before its match and the match, a read
/// through the cursor the bytes it returns.
inline std::uint64_t steps = 0;

} // namespace test
