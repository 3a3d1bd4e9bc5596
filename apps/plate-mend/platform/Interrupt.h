#pragma once

namespace plate_mend::host::platform {

/// From now on Ctrl-C, and what else asks a program to end, is remembered and does not end it. What was
/// remembered before is forgotten.
void remember_interrupts();

/// Whether somebody asked this program to end.
[[nodiscard]] bool interrupted();

} // namespace plate_mend::host::platform
