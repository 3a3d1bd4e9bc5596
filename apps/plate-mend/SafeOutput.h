#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// The library removes whatever stands at its output path, even a folder, before it looks at its inputs. So
// the program lets it write into a private folder, and moves what was made to its place when it is whole.

namespace plate_mend::host {

/// Paths to and from the UTF-8 of the command line.
[[nodiscard]] std::filesystem::path path_from(const std::string& utf8);
[[nodiscard]] std::string utf8_from(const std::filesystem::path& path);

/// Why an output must not be written, in words for the user; nothing when it may. A folder and a file that
/// is also an input are refused always, an existing file unless forced. So is an input that is no file.
[[nodiscard]] std::optional<std::string> refuse_output(const std::filesystem::path& output,
                                                       const std::vector<std::filesystem::path>& inputs,
                                                       bool force);

/// A folder of a random name beside a file, removed with all its contents. Nobody else uses it.
class PrivateFolder {
  public:
    /// Throws std::filesystem::filesystem_error when it cannot be made.
    explicit PrivateFolder(const std::filesystem::path& beside);
    PrivateFolder(const PrivateFolder&) = delete;
    PrivateFolder& operator=(const PrivateFolder&) = delete;
    ~PrivateFolder();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

  private:
    std::filesystem::path path_;
};

/// Moves a finished file to its place in one step. Throws std::filesystem::filesystem_error, or
/// std::runtime_error when something stands there by now and may not be replaced.
void deliver(const std::filesystem::path& made, const std::filesystem::path& output, bool force);

} // namespace plate_mend::host
