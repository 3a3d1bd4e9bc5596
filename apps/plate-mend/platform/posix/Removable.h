#pragma once

#include <filesystem>

namespace plate_mend::host::platform {

/// Whether a block device belongs to a disk that people take out: it says so, it is a memory card, or it
/// hangs on USB; for an encrypted or composed device the disks below decide. `sysfs` is where the system
/// describes its devices, /sys. False for what is not described there.
[[nodiscard]] bool is_removable_device(const std::filesystem::path& sysfs, unsigned major, unsigned minor);

} // namespace plate_mend::host::platform
