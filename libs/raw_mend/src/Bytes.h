#pragma once

#include <span>

namespace raw_mend {

/// A view of a file or of a part of it.
using Bytes = std::span<const unsigned char>;

} // namespace raw_mend
