#pragma once

#include "coding/CrxLayout.h"

namespace raw_mend {

/// Whether coded data decode.
enum class CrxDecoding {
    kComplete, ///< Every plane, to its last sample with its last byte.
    kBroken,   ///< Some plane does not.
    kUnknown,  ///< The data are lossy, or coded in another way that cannot be checked here.
};

/// Decodes a sample of a raw track, with a layout like that of an intact one, whose geometry it has. Takes
/// time in proportion to its length.
[[nodiscard]] CrxDecoding check_crx(Bytes file, const Extent& data, const CrxLayout& layout);

} // namespace raw_mend
