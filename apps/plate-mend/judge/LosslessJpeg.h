#pragma once

#include <vector>

namespace plate_mend::host {

/// Whether a lossless JPEG (ITU-T T.81, SOF3, Huffman coded, as DNG and CR2 hold raw images) is complete:
/// exactly as many differences as its frame has samples, and its EOI marker after the last of them. What
/// follows the EOI does not matter. A single lost or foreign byte nearly always makes that false, even if a
/// decoder notices nothing.
[[nodiscard]] bool is_complete_lossless_jpeg(const std::vector<unsigned char>& bytes);

} // namespace plate_mend::host
