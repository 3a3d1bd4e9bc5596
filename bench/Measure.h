#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// How long the action takes, in milliseconds.
[[nodiscard]] double milliseconds(const std::function<void()>& action);

/// The median. The values must not be empty.
[[nodiscard]] double median(std::vector<double> values);

/// Anonymous memory of this process that is resident now, in bytes.
[[nodiscard]] std::uint64_t anonymous_memory();

/// How far the action raises anonymous_memory at most, looked at some thousand times a second.
[[nodiscard]] std::uint64_t peak_of_anonymous_memory(const std::function<void()>& action);

/// Runs a program to its end, with its output thrown away, and gives its exit status.
int run(const std::vector<std::string>& command);

/// A folder that is removed with all that is in it.
class Folder {
  public:
    explicit Folder(const std::filesystem::path& parent);
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;
    ~Folder();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

} // namespace bench
