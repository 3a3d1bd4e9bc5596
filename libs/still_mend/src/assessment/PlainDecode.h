#pragma once

#include "assessment/Assessment.h"

#include <optional>

namespace still_mend {

/// libjpeg's decode of the same picture, if it is better than what was assessed: it has more MCUs that fit
/// what is above them where nothing was found than it has others in place of such as were found. Only for a
/// picture with one scan and a header that libjpeg reads by itself. Takes the memory of read_leniently.
[[nodiscard]] std::optional<Assessment> find_better_decode(Bytes file, const Assessment& assessed);

} // namespace still_mend
