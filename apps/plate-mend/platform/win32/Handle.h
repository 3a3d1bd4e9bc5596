#pragma once

#include <windows.h>

#include <filesystem>
#include <utility>

namespace plate_mend::host::platform {

/// A Windows handle that is closed with the object. Processes that this one starts do not inherit it.
class Handle {
  public:
    Handle() = default;
    explicit Handle(HANDLE handle) : handle_(handle == INVALID_HANDLE_VALUE ? nullptr : handle) {}
    Handle(Handle&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    ~Handle() {
        if (handle_ != nullptr) {
            ::CloseHandle(handle_);
        }
    }
    [[nodiscard]] HANDLE get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

  private:
    HANDLE handle_ = nullptr;
};

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

/// CreateFileW with a path of any length. No handle where it fails; GetLastError has the reason.
[[nodiscard]] Handle try_to_open(const std::filesystem::path& path, DWORD access, DWORD share,
                                 DWORD disposition, DWORD flags);
/// The same. Throws std::system_error.
[[nodiscard]] Handle open_file(const std::filesystem::path& path, DWORD access, DWORD share,
                               DWORD disposition, DWORD flags);

/// Throws std::system_error unless the handle is that of an ordinary file.
void require_ordinary_file(const Handle& file, const std::filesystem::path& path);
/// Throws std::system_error when the handle, opened without following links, is that of a link.
void require_no_link(const Handle& file, const std::filesystem::path& path);

} // namespace plate_mend::host::platform
