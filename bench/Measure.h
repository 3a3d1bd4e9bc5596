#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace bench {

/// The time the action takes, in milliseconds.
[[nodiscard]] double milliseconds(const std::function<void()>& action);

/// The processor time that this process and those that it waited for have had, in milliseconds.
[[nodiscard]] double processor_milliseconds();

/// The median. The values must not be empty.
[[nodiscard]] double median(std::vector<double> values);

/// The resident anonymous memory of this process, in bytes.
[[nodiscard]] std::uint64_t anonymous_memory();

/// The most by which the action raises anonymous_memory, sampled some thousand times per second.
[[nodiscard]] std::uint64_t peak_of_anonymous_memory(const std::function<void()>& action);

/// Runs a program to its end, discards its output, and returns its exit status.
int run(const std::vector<std::string>& command);

/// A folder that the destructor removes with its contents.
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
