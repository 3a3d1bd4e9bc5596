#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <optional>
#include <vector>

namespace plate_mend::host {

/// Reads parts of a file.
class FileBytes {
  public:
    /// A file that cannot be opened has size 0.
    explicit FileBytes(const std::filesystem::path& path);

    [[nodiscard]] std::uint64_t size() const { return size_; }

    /// Up to count bytes from an offset on; fewer where the file ends or cannot be read.
    [[nodiscard]] std::vector<unsigned char> read(std::uint64_t offset, std::size_t count);

    /// The offset of the first such bytes at or after an offset; nothing when they are not there.
    [[nodiscard]] std::optional<std::uint64_t> find(const std::vector<unsigned char>& bytes,
                                                    std::uint64_t from = 0);

    /// Whether everything after an offset is only padding, which recovery adds up to the end of a sector or a
    /// cluster: zeros, up to 2 MiB of them, in a file whose size is a multiple of a sector. True when nothing
    /// is there.
    [[nodiscard]] bool only_slack_after(std::uint64_t offset);

  private:
    std::ifstream stream_;
    std::uint64_t size_ = 0;
};

} // namespace plate_mend::host
