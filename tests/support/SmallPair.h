#pragma once

#include "support/Bytes.h"

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace test {

/// A sample and a damaged file of a few hundred bytes (CR3: of a few thousand) that a repair succeeds on.
/// They hold what the repair reads, and nothing else. The two differ in length before the image. The damaged
/// file has lost its first bytes.
struct SmallPair {
    std::string name; ///< The extension, and the byte order where there are two: "arw_MM".
    std::string_view extension;
    Bytes sample;
    Bytes damaged;
    Bytes image; ///< The damaged file's; a CR3's track 3. The output must hold it.
};
std::ostream& operator<<(std::ostream& stream, const SmallPair& pair);

/// One pair per format and byte order.
[[nodiscard]] const std::vector<SmallPair>& small_pairs();

} // namespace test
