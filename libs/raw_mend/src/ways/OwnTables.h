#pragma once

#include "ways/Sample.h"

#include <cstdint>
#include <optional>

namespace raw_mend {

/// A whole photograph inside a damaged file.
struct OwnStructure {
    std::uint64_t header = 0; ///< Where it begins in the damaged file.
    std::uint64_t size = 0;   ///< Its bytes; up to the end of the damaged file if nothing says where it ends.
    Description description;  ///< Its offsets count from there.
};

/// The first photograph like the sample in a damaged file that is whole: its own tables lead to an image of
/// the same frame, all of whose pieces are proved.
[[nodiscard]] std::optional<OwnStructure> find_own_structure(Bytes damaged, const Sample& sample);

} // namespace raw_mend
