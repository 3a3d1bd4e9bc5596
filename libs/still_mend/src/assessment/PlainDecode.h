#pragma once

#include "assessment/Assessment.h"

#include <optional>

namespace still_mend {

/// libjpeg's decode of the same picture, if more of it holds together than of what was assessed: MCUs with
/// detail that fit what is above them. Only for a header that libjpeg reads by itself. Takes the memory of
/// read_leniently.
[[nodiscard]] std::optional<Assessment> find_better_decode(Bytes file, const Assessment& assessed);

} // namespace still_mend
