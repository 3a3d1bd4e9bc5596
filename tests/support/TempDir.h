#pragma once

#include <filesystem>

namespace test {

/// A folder of its own for one test, removed with all that is in it.
class TempDir {
  public:
    TempDir();
    /// In the given folder.
    explicit TempDir(const std::filesystem::path& parent);
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    ~TempDir();

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] std::filesystem::path operator/(const std::filesystem::path& name) const {
        return path_ / name;
    }

  private:
    std::filesystem::path path_;
};

/// A folder for many small files: in memory where the system has one, else that of all temporary files.
[[nodiscard]] std::filesystem::path quick_folder();

} // namespace test
