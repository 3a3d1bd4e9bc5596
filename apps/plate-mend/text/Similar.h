#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace plate_mend::host {

/// The word that was probably meant by a mistyped one: with the fewest letters added, left out, replaced, or
/// swapped with their neighbour, and no more than a third of the word's letters. Of several, the first. Empty
/// if none is so close.
[[nodiscard]] std::string most_similar(std::string_view mistyped, const std::vector<std::string>& words);

} // namespace plate_mend::host
