#include "platform/Files.h"

#include "platform/win32/Handle.h"

#include <system_path/system_path.h>

#include <winioctl.h>

#include <string>

namespace plate_mend::host::platform {

namespace {

namespace fs = std::filesystem;

/// The root of the volume that a path is on, with a backslash at its end; empty if there is none.
std::wstring root_of(const fs::path& path) {
    std::error_code error;
    const fs::path whole = fs::absolute(path, error);
    std::wstring root(whole.native().size() + MAX_PATH, L'\0');
    if (error || ::GetVolumePathNameW(system_path::reachable(whole).c_str(), root.data(),
                                      static_cast<DWORD>(root.size())) == FALSE) {
        return {};
    }
    root.resize(root.find(L'\0'));
    return root;
}

/// A volume as a device, without access to its bytes.
Handle device_of(const std::wstring& root) {
    constexpr DWORD kRoom = 50; // \\?\Volume{GUID}\ and a NUL.
    std::wstring name(kRoom, L'\0');
    if (::GetVolumeNameForVolumeMountPointW(root.c_str(), name.data(), kRoom) == FALSE) {
        return Handle();
    }
    name.resize(name.find_last_of(L'\\'));
    return Handle(::CreateFileW(name.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING,
                                0, nullptr));
}

/// Whether the volume's disk is attached by USB or is a memory card.
bool is_on_a_removable_bus(const std::wstring& root) {
    const Handle device = device_of(root);
    STORAGE_PROPERTY_QUERY query{};
    query.PropertyId = StorageDeviceProperty;
    query.QueryType = PropertyStandardQuery;
    STORAGE_DEVICE_DESCRIPTOR disk{};
    DWORD size = 0;
    if (!device || ::DeviceIoControl(device.get(), IOCTL_STORAGE_QUERY_PROPERTY, &query, sizeof query, &disk,
                                     sizeof disk, &size, nullptr) == FALSE) {
        return false;
    }
    return size == sizeof disk &&
           (disk.RemovableMedia != FALSE || disk.BusType == BusTypeUsb || disk.BusType == BusTypeSd);
}

} // namespace

bool is_removable(const fs::path& path) {
    const std::wstring root = root_of(path);
    if (root.empty()) {
        return false;
    }
    const UINT type = ::GetDriveTypeW(root.c_str());
    return type == DRIVE_REMOVABLE || type == DRIVE_CDROM ||
           (type == DRIVE_FIXED && is_on_a_removable_bus(root));
}

} // namespace plate_mend::host::platform
