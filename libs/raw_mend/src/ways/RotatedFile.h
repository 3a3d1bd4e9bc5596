#pragma once

#include "ways/Sample.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// Where a photograph begins of which the end is at the beginning of the damaged file: its own tables, which
/// are not at the beginning, name an image that goes on past the end of the file, and all of it has room in a
/// file of this length. The first of several; nothing if there is none. The image's bytes are not read.
[[nodiscard]] std::optional<std::uint64_t> find_rotated_start(Bytes damaged, const Sample& sample);

/// The bytes from an offset on, and then those before it.
[[nodiscard]] std::vector<unsigned char> rotate(Bytes damaged, std::uint64_t start);

/// Whether nothing foreign can be after the joint of such a file, the offset at which its beginning was, if
/// all pieces of the image are proved: pieces of coded data prove themselves; rows must be in step and fit
/// those before the joint.
[[nodiscard]] bool is_joint_proved(Bytes file, std::uint64_t joint, const Sample& sample);

} // namespace raw_mend
