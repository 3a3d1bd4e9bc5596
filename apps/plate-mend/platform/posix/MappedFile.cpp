#include "platform/MappedFile.h"

#include "platform/posix/Descriptor.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <limits>

namespace plate_mend::host::platform {

namespace {

MapResult result_of(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return MapResult::kMissing;
    case EACCES:
    case EPERM:
        return MapResult::kForbidden;
    case ENXIO: // A socket, or a device that is not there.
        return MapResult::kNoFile;
    case ENOMEM:
        return MapResult::kNoRoom;
    default:
        return MapResult::kFailed;
    }
}

} // namespace

MapResult MappedFile::open(const std::filesystem::path& path, std::uint64_t most_bytes) {
    close();
    // Not blocking: opening a named pipe must not wait.
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct ::stat status {};
    if (file.number() < 0 || ::fstat(file.number(), &status) != 0) {
        return result_of(errno);
    }
    if (!S_ISREG(status.st_mode)) {
        return MapResult::kNoFile;
    }
    const auto size = static_cast<std::uint64_t>(status.st_size);
    if (status.st_size < 0 || size > most_bytes || size > std::numeric_limits<std::size_t>::max()) {
        return MapResult::kTooLong;
    }
    if (size == 0) {
        return MapResult::kMapped;
    }
    void* view = ::mmap(nullptr, static_cast<std::size_t>(size), PROT_READ, MAP_PRIVATE, file.number(), 0);
    if (view == MAP_FAILED) {
        return result_of(errno);
    }
    data_ = static_cast<const unsigned char*>(view);
    size_ = static_cast<std::size_t>(size);
    return MapResult::kMapped;
}

void MappedFile::close() noexcept {
    if (data_ != nullptr) {
        ::munmap(const_cast<unsigned char*>(data_), size_);
        data_ = nullptr;
        size_ = 0;
    }
}

} // namespace plate_mend::host::platform
