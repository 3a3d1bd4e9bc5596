#include "platform/Files.h"

#include "platform/win32/Errors.h"
#include "platform/win32/Handle.h"

namespace plate_mend::host::platform {

namespace {

/// Locks an open file. Returns whether no other process holds the lock.
bool try_lock(const Handle& file, const std::filesystem::path& path) {
    OVERLAPPED first_byte{};
    if (::LockFileEx(file.get(), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0, &first_byte) !=
        FALSE) {
        return true;
    }
    const DWORD error = ::GetLastError();
    if (error != ERROR_LOCK_VIOLATION && error != ERROR_IO_PENDING) {
        fail_on(path, error);
    }
    return false;
}

} // namespace

struct Lock::State {
    Handle file;
};

Lock::Lock(std::unique_ptr<State> state) : state_(std::move(state)) {}
Lock::Lock(Lock&& other) noexcept = default;
Lock& Lock::operator=(Lock&& other) noexcept = default;
Lock::~Lock() = default;

std::optional<Lock> Lock::take(const std::filesystem::path& file) {
    // No process can remove or rename it while it is open, so it remains the file with this name.
    Handle opened = open_file(file, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                              OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT);
    require_no_link(opened, file);
    require_ordinary_file(opened, file);
    if (!try_lock(opened, file)) {
        return std::nullopt;
    }
    return Lock(std::make_unique<State>(State{std::move(opened)}));
}

} // namespace plate_mend::host::platform
