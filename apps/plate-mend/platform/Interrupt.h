#pragma once

namespace plate_mend::host::platform {

/// From now on Ctrl-C, and other requests to end, are remembered and do not end the program. Earlier requests
/// are forgotten.
void remember_interrupts();

/// Whether this program has been asked to end.
[[nodiscard]] bool interrupted();

} // namespace plate_mend::host::platform
