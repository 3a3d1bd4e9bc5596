#pragma once

#include "ways/FoundImage.h"
#include "ways/Sample.h"

#include <optional>

namespace raw_mend {

/// The compressed image of a RAF, found by the head of its data. It is proved if its blocks end as far before
/// the end of the file as the sample's, or where another RAF begins, and no other stream does. Nothing if the
/// sample is no such, or no head is found.
[[nodiscard]] std::optional<FoundImage> find_fuji_stream(Bytes damaged, const Sample& sample);

/// Whether a file's own tables lead to a stream like the sample's that ends where they state.
[[nodiscard]] bool has_whole_fuji_stream(Bytes file, const Description& own, const Sample& sample);

} // namespace raw_mend
