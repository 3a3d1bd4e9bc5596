#include "ways/FoundImage.h"

#include <algorithm>

namespace raw_mend {

std::size_t FoundImage::count_found() const {
    return static_cast<std::size_t>(
        std::ranges::count_if(pieces, [](const auto& piece) { return piece.has_value(); }));
}

} // namespace raw_mend
