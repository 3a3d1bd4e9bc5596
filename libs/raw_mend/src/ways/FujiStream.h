#pragma once

#include "ways/FoundImage.h"
#include "ways/Sample.h"

#include <optional>

namespace raw_mend {

/// The compressed image of a RAF, found by the head of its data. It is proved if its blocks end as far before
/// the end of the file as the sample's, or where another RAF begins, no part of them is blank, and no other
/// stream can be meant. Other foreign bytes among them are not noticed. Nothing if the sample is no such, or
/// no head is found.
[[nodiscard]] std::optional<FoundImage> find_fuji_stream(Bytes damaged, const Sample& sample);

/// Whether a file's own tables lead to a stream like the sample's that ends where they state, without a
/// blank part or the head of another stream in it.
[[nodiscard]] bool has_whole_fuji_stream(Bytes file, const Description& own, const Sample& sample);

} // namespace raw_mend
