#pragma once

#include "record/Record.h"

namespace plate_mend::host {

/// The verdict on a result by itself: whole, partial, or not repaired.
[[nodiscard]] Verdict verdict_of(const Judgement& judgement);

/// Whether an attempt's result is a photograph that is better than another's: by verdict, then by its share
/// of the picture. If neither share is known, an image of which a piece is proved is better than one
/// without, and one that was put together anew if most of its pixels are counted as the photograph's own. Of
/// equal ones, the exact engine's is better than the raw engine's, and of those of one engine the one with
/// fewer signs of damage.
///
///   kept  the best attempt so far; null: none
[[nodiscard]] bool is_better(const Attempt& attempt, const Attempt* kept);

} // namespace plate_mend::host
