#include "platform/win32/Handle.h"

#include "platform/win32/Errors.h"
#include "platform/win32/Stamp.h"

#include <system_path/system_path.h>

namespace plate_mend::host::platform {

Handle try_to_open(const std::filesystem::path& path, DWORD access, DWORD share, DWORD disposition,
                   DWORD flags) {
    return Handle(::CreateFileW(system_path::reachable(path).c_str(), access, share, nullptr, disposition,
                                flags, nullptr));
}

Handle open_file(const std::filesystem::path& path, DWORD access, DWORD share, DWORD disposition,
                 DWORD flags) {
    Handle handle = try_to_open(path, access, share, disposition, flags);
    if (!handle) {
        fail_on(path);
    }
    return handle;
}

void require_ordinary_file(const Handle& file, const std::filesystem::path& path) {
    const FileStamp stamp = stamp_of_open(file, path);
    if (stamp.folder) {
        fail_on(path, std::errc::is_a_directory);
    }
    if (!stamp.regular) {
        fail_on(path, std::errc::invalid_argument);
    }
}

void require_no_link(const Handle& file, const std::filesystem::path& path) {
    FILE_ATTRIBUTE_TAG_INFO info{};
    if (::GetFileInformationByHandleEx(file.get(), FileAttributeTagInfo, &info, sizeof info) == FALSE) {
        return; // A file system that has no links.
    }
    const bool is_reparsed = (info.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (is_reparsed && IsReparseTagNameSurrogate(info.ReparseTag)) {
        fail_on(path, std::errc::too_many_symbolic_link_levels);
    }
}

} // namespace plate_mend::host::platform
