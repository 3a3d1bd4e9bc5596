#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>

namespace plate_mend::host::platform {

enum class MapResult {
    kMapped,
    kMissing,   ///< Nothing is at the path.
    kNoFile,    ///< Something other than a regular file is there.
    kForbidden, ///< The user may not read it.
    kTooLong,   ///< It has more bytes than were asked for.
    kNoRoom,    ///< The address space, or the limit on it, has no room.
    kFailed,    ///< Any other refusal of the system.
};

/// A regular file, completely mapped for reading. The bytes are valid as long as the object exists, and take
/// no private memory. If the file shrinks meanwhile, or its disk fails, an access ends the process: read the
/// bytes in a worker.
class MappedFile {
  public:
    MappedFile() = default;
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile() { close(); }

    /// Maps a file of at most this many bytes. There are no bytes after a failure or for an empty file.
    [[nodiscard]] MapResult open(const std::filesystem::path& path, std::uint64_t most_bytes);
    void close() noexcept;

    [[nodiscard]] std::span<const unsigned char> bytes() const { return {data_, size_}; }

  private:
    const unsigned char* data_ = nullptr;
    std::size_t size_ = 0;
};

} // namespace plate_mend::host::platform
