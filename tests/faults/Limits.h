#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>

namespace test {

/// While it lives, no file of the process grows beyond the given bytes: a write ends there as on a full disk.
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

/// While it lives, the process gets at most the given bytes of address space on top of what it has.
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

/// While it lives, the process gets at most the given bytes of private memory on top of what it has. Files
/// that are mapped for reading do not count.
class PrivateMemoryLimit {
  public:
    explicit PrivateMemoryLimit(std::uint64_t more_bytes);
    PrivateMemoryLimit(const PrivateMemoryLimit&) = delete;
    PrivateMemoryLimit& operator=(const PrivateMemoryLimit&) = delete;
    ~PrivateMemoryLimit();

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

/// Calls the function in a child process and returns how that ended, as waitpid reports it.
[[nodiscard]] int status_of_child(const std::function<void()>& function);

/// The bytes of a small file system: some pages.
[[nodiscard]] std::size_t small_file_system();

/// Calls the function in a child process, with a small file system in the place of a folder. Gives what the
/// function returned, 0 to 76, and -1 when it did not return. Nothing where none can be mounted: only root
/// may.
[[nodiscard]] std::optional<int> result_on_small_file_system(const std::filesystem::path& place,
                                                             const std::function<int()>& function);

/// Whether holes of files take memory when they are read, so that files of some GiB are out of reach there.
[[nodiscard]] bool holes_take_memory(const std::filesystem::path& folder);

} // namespace test
