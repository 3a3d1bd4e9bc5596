#pragma once

#include <cstddef>
#include <filesystem>
#include <span>

namespace mapped_file {

/// A regular file mapped whole for reading. The bytes are valid as long as the object exists. An empty file
/// has no bytes.
class MappedFile {
  public:
    MappedFile() = default;
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile() { close(); }

    /// False when the path names no regular file or the system refuses. Throws std::bad_alloc when the
    /// address space has no room for it.
    [[nodiscard]] bool open(const std::filesystem::path& path);
    void close();

    [[nodiscard]] std::span<const unsigned char> bytes() const { return {data_, size_}; }

  private:
    const unsigned char* data_ = nullptr;
    std::size_t size_ = 0;
};

} // namespace mapped_file
