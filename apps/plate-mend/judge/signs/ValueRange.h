#pragma once

#include <cstddef>
#include <cstdint>

namespace plate_mend::host {

/// Whether one of count samples is below the lowest or above the highest value that they may have.
[[nodiscard]] bool has_value_outside(const std::uint16_t* samples, std::size_t count, unsigned lowest,
                                     unsigned highest);

} // namespace plate_mend::host
