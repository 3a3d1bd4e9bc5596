#pragma once

#include "assessment/Assessment.h"

#include <optional>

namespace still_mend {

/// The picture that begins at the candidate's SOI, if libjpeg decodes it without an error or a warning.
[[nodiscard]] std::optional<Assessment> assess_intact(Bytes file, const PictureCandidate& candidate);

/// What only libjpeg can read of the picture at the candidate's SOI. Huffman-coded noise is recognised;
/// arithmetic coding has no sign of damage, so it is delivered as libjpeg decodes it.
[[nodiscard]] std::optional<Assessment> assess_leniently(Bytes file, const PictureCandidate& candidate);

} // namespace still_mend
