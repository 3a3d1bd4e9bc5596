#pragma once

#include <filesystem>
#include <utility>

namespace plate_mend::host::platform {

/// A file descriptor that is closed with the object. A negative one means none.
class Descriptor {
  public:
    explicit Descriptor(int number) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();
    [[nodiscard]] int number() const { return number_; }

  private:
    int number_;
};

/// open(2), with O_CLOEXEC added, and tried again when a signal came. Throws std::system_error.
[[nodiscard]] Descriptor open_file(const std::filesystem::path& path, int flags, unsigned mode = 0);

/// Throws std::system_error unless the descriptor is that of an ordinary file.
void require_ordinary_file(const Descriptor& descriptor, const std::filesystem::path& path);

/// fsync(2), tried again when a signal came. Returns the error, or 0.
[[nodiscard]] int flush(const Descriptor& descriptor);

} // namespace plate_mend::host::platform
