#pragma once

#include "ways/Sample.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// A photograph with its own structure inside a damaged file.
struct OwnStructure {
    std::uint64_t header = 0; ///< Where it begins in the damaged file.
    std::uint64_t size = 0;   ///< Its bytes; up to the end of the damaged file if nothing says where it ends.
    Description description;  ///< Its offsets count from there.
    bool is_proved = false;   ///< Whether all pieces are; else nothing speaks against them.
    std::optional<std::uint64_t> other; ///< Where a second one begins that may be meant as well.

    /// The pieces of its raw image in the damaged file.
    [[nodiscard]] std::vector<Extent> pieces() const;
};

/// The photograph like the sample in a damaged file whose own tables lead to an image of the same frame, all
/// of whose pieces are proved, and say of it what those of the sample do. Of several, one whose image is not
/// the sample's own; then the first that ends the file as the sample's image does its own; if none does, the
/// first. If none is proved, the first whose image may be at fault nowhere.
[[nodiscard]] std::optional<OwnStructure> find_own_structure(Bytes damaged, const Sample& sample);

/// All photographs like the sample in a damaged file whose own tables name an image of the same frame and as
/// many pieces. Their bytes are not read: they may be damaged, elsewhere, or past the end of the file.
[[nodiscard]] std::vector<OwnStructure> find_named_images(Bytes damaged, const Sample& sample);

/// Of these, those whose tables name an image of as many rows, side by
/// side. Their bytes are not read: they may be torn or lost.
[[nodiscard]] std::vector<OwnStructure> find_own_rows(Bytes damaged, const Sample& sample);

} // namespace raw_mend
