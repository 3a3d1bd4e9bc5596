#pragma once

#include "Bytes.h"

namespace raw_mend {

/// Whether a decoder would read the raw images of two photographs in the same way, as far as their
/// directories say: they have the same entries, and the same numbers in them, of all tags that decoders go
/// by. Offsets and lengths, dates, texts and maker notes may differ. True if the first is not built like
/// TIFF: nothing is known then.
[[nodiscard]] bool are_read_alike(Bytes one, Bytes other);

} // namespace raw_mend
