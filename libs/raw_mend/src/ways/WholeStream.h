#pragma once

#include "container/Description.h"

#include <cstdint>

namespace raw_mend {

/// A coded stream that is complete, and proves itself.
struct WholeStream {
    Extent data;
    std::uint64_t kind = 0; ///< Only streams of one kind can take one another's place.
};

} // namespace raw_mend
