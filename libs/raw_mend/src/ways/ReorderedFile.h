#pragma once

#include "ways/FoundImage.h"
#include "ways/OwnTables.h"
#include "ways/Sample.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// Two parts of a damaged file that follow one another in the photograph. What is in neither is not its own.
struct Reordering {
    Extent first;
    Extent second;

    /// The bytes of both, one after the other.
    [[nodiscard]] std::vector<unsigned char> of(Bytes damaged) const;
    /// Where a byte of these is in the damaged file.
    [[nodiscard]] std::uint64_t offset_in_damaged(std::uint64_t offset) const {
        return offset < first.length ? first.offset + offset : second.offset + (offset - first.length);
    }
};

/// Of a photograph the end of which is at the beginning of the damaged file: its own tables, which are not at
/// the beginning, name an image that goes on past the end of the file, and all of it has room in a file of
/// this length. The first of several; nothing if there is none. The image's bytes are not read.
///
///   named  what find_named_images() returned
[[nodiscard]] std::optional<Reordering> find_rotation(Bytes damaged, const std::vector<OwnStructure>& named);

/// Of a photograph with another one like it inside, head and all, which parts it: both have room in a file of
/// this length, and its own tables name an image in which those of the other are, or it has none. The first
/// of several; nothing if there is none. The images' bytes are not read.
///
///   named  as above
[[nodiscard]] std::optional<Reordering>
find_photograph_around(Bytes damaged, const std::vector<OwnStructure>& named, const Sample& sample);

/// Whether the parts of such a file meet within an image, all pieces of which are proved, and nothing foreign
/// can be after the joint: pieces of coded data prove themselves; rows must be in step and fit those before
/// it.
///
///   file   with the parts in their order
///   joint  offset at which the second part begins
///   image  that was found there
[[nodiscard]] bool is_joint_proved(Bytes file, std::uint64_t joint, const FoundImage& image,
                                   const Sample& sample);

} // namespace raw_mend
