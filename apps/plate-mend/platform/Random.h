#pragma once

#include <span>

namespace plate_mend::host::platform {

/// Fills bytes with random ones that nobody can foretell, from the system. Throws std::system_error where the
/// system has none.
void fill_with_random(std::span<unsigned char> bytes);

} // namespace plate_mend::host::platform
