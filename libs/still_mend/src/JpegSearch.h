#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace still_mend {

/// Every stretch of the file that reads as a whole baseline or progressive JPEG, SOI to EOI, largest first.
/// Views of the bytes given. A picture inside another's segment (a thumbnail in APP1) counts as well.
[[nodiscard]] std::vector<std::span<const unsigned char>>
find_whole_jpegs(std::span<const unsigned char> file);

} // namespace still_mend
