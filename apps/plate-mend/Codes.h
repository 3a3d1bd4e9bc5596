#pragma once

#include <cstdint>
#include <string>

namespace plate_mend::host {

/// What a code of the advanced repair means and what to try next, with the number at the end.
[[nodiscard]] std::string explain_repair(std::int32_t code);

/// The same for a code of the general repair.
[[nodiscard]] std::string explain_salvage(std::int32_t code);

} // namespace plate_mend::host
