#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>

namespace plate_mend::host::platform {

enum class MapResult {
    kMapped,
    kMissing,   ///< Nothing is at the path.
    kNoFile,    ///< Something other than a regular file is.
    kForbidden, ///< The user may not read it.
    kTooLong,   ///< It has more bytes than were asked for.
    kNoRoom,    ///< The address space, or the limit of it, has no room.
    kFailed,    ///< Any other refusal of the system.
};

/// A regular file, completely mapped for reading. The bytes live as long as the object, and take no private
/// memory. If the file shrinks meanwhile, or its disk fails, an access ends the process: read the bytes in a
/// worker.
class MappedFile {
  public:
    MappedFile() = default;
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;
    ~MappedFile() { close(); }

    /// Maps a file of at most so many bytes. Without success there are no bytes; nor has an empty file any.
    [[nodiscard]] MapResult open(const std::filesystem::path& path, std::uint64_t most_bytes);
    void close() noexcept;

    [[nodiscard]] std::span<const unsigned char> bytes() const { return {data_, size_}; }

  private:
    const unsigned char* data_ = nullptr;
    std::size_t size_ = 0;
};

} // namespace plate_mend::host::platform
