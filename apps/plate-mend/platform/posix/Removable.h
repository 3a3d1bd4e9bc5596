#pragma once

#include <filesystem>

namespace plate_mend::host::platform {

/// Whether a block device belongs to a removable disk: it reports so, it is a memory card, or it is attached
/// by USB. For an encrypted or composite device, the underlying disks decide. `sysfs` is where the system
/// describes its devices, /sys. False for what is not described there.
[[nodiscard]] bool is_removable_device(const std::filesystem::path& sysfs, unsigned major, unsigned minor);

} // namespace plate_mend::host::platform
