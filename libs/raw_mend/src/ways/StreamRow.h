#pragma once

#include "ways/FoundImage.h"
#include "ways/Sample.h"
#include "ways/WholeStream.h"

#include <cstdint>
#include <span>

namespace raw_mend {

/// Whether one of the streams is of this kind.
[[nodiscard]] bool has_kind(std::span<const WholeStream> streams, std::uint64_t kind);

/// Which streams of a damaged file are the pieces of the sample's raw image: as many as it has, one after
/// another, of the same kinds in the order of their offsets; else those at places where tables or the sample
/// let expect them. The sample's streams are in the order of its pieces, the damaged file's by offset and
/// apart.
[[nodiscard]] std::optional<FoundImage> place_streams(Bytes damaged, const Sample& sample,
                                                      std::span<const WholeStream> of_sample,
                                                      std::span<const WholeStream> streams);

} // namespace raw_mend
