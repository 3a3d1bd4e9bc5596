#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <cstdint>
#include <functional>

namespace test {

/// While it lives, no file of the process grows beyond so many bytes: a write ends there as on a full disk.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(std::uint64_t bytes);
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit();

  private:
    ::rlimit old_{};
    void (*old_handler_)(int);
};

/// While it lives, the process gets at most so many bytes of address space on top of what it has.
class AddressSpaceLimit {
  public:
    explicit AddressSpaceLimit(std::uint64_t more_bytes);
    AddressSpaceLimit(const AddressSpaceLimit&) = delete;
    AddressSpaceLimit& operator=(const AddressSpaceLimit&) = delete;
    ~AddressSpaceLimit();

    /// False where the runtime of a sanitizer reserves address space without end.
    [[nodiscard]] static bool is_possible();

  private:
    ::rlimit old_{};
};

/// While it lives, a process of root's has no rights but those of a user without any. Others have theirs.
class WithoutPrivileges {
  public:
    WithoutPrivileges();
    WithoutPrivileges(const WithoutPrivileges&) = delete;
    WithoutPrivileges& operator=(const WithoutPrivileges&) = delete;
    ~WithoutPrivileges();

  private:
    ::uid_t old_;
};

/// Calls the function in a child process and gives how that ended, as waitpid tells it.
[[nodiscard]] int status_of_child(const std::function<void()>& function);

} // namespace test
