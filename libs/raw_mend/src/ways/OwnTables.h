#pragma once

#include "ways/Sample.h"

#include <cstdint>
#include <optional>

namespace raw_mend {

/// A photograph with its own structure inside a damaged file.
struct OwnStructure {
    std::uint64_t header = 0; ///< Where it begins in the damaged file.
    Description description;  ///< Its offsets count from there.
    bool is_proved = false;   ///< Whether all pieces are; else nothing speaks against them.

    /// The pieces of its raw image in the damaged file.
    [[nodiscard]] std::vector<Extent> pieces() const;
};

/// The first photograph like the sample in a damaged file whose own tables lead to an image of the same
/// frame, all of whose pieces are proved, and say of it what those of the sample do; if there is none, the
/// first whose image may be at fault nowhere.
[[nodiscard]] std::optional<OwnStructure> find_own_structure(Bytes damaged, const Sample& sample);

} // namespace raw_mend
