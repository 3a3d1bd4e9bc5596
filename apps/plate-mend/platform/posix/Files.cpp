#include "platform/Files.h"

#include "platform/posix/Descriptor.h"
#include "platform/posix/Errors.h"
#include "platform/posix/SizeSignal.h"
#include "platform/posix/Stamp.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <limits>

namespace plate_mend::host::platform {

namespace {

constexpr std::uint64_t kMostBytes = std::numeric_limits<off_t>::max();

/// Recording the access time writes to a medium that may be dying; only a file's owner may turn it off.
Descriptor open_quietly(const std::filesystem::path& path) {
    try {
        return open_file(path, O_RDONLY | O_NONBLOCK | O_NOATIME);
    } catch (const std::system_error& e) {
        if (e.code().value() != EPERM) {
            throw;
        }
    }
    return open_file(path, O_RDONLY | O_NONBLOCK);
}

/// Devices may do something when they are opened, so only ordinary files are opened.
Descriptor open_source(const std::filesystem::path& path) {
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) {
        fail(EINVAL, path.native() + ": not an ordinary file");
    }
    Descriptor file = open_quietly(path);
    require_ordinary_file(file, path);
    return file;
}

} // namespace

struct SourceFile::State {
    Descriptor file;
    std::filesystem::path path;
};

SourceFile::SourceFile(const std::filesystem::path& path)
    : state_(std::make_unique<State>(State{open_source(path), path})) {}

SourceFile::~SourceFile() = default;

FileStamp SourceFile::stamp() const {
    return stamp_of_open(state_->file.number());
}

std::size_t SourceFile::read(std::uint64_t offset, unsigned char* data, std::size_t count) const {
    if (offset >= kMostBytes) {
        return 0;
    }
    count = static_cast<std::size_t>(std::min<std::uint64_t>(count, kMostBytes - offset));
    std::size_t done = 0;
    while (done < count) {
        const ssize_t got =
            ::pread(state_->file.number(), data + done, count - done, static_cast<off_t>(offset + done));
        if (got == 0) {
            break;
        }
        if (got > 0) {
            done += static_cast<std::size_t>(got);
        } else if (errno != EINTR) {
            fail_on(state_->path);
        }
    }
    return done;
}

struct NewFile::State {
    Descriptor file;
    std::filesystem::path path;
    std::uint64_t end = 0;
};

NewFile::NewFile(const std::filesystem::path& path)
    : state_(std::make_unique<State>(
          State{open_file(path, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW, 0666), path})) {}

NewFile::NewFile(std::unique_ptr<State> state) : state_(std::move(state)) {}

NewFile::NewFile(NewFile&& other) noexcept = default;

NewFile::~NewFile() = default;

void NewFile::write(const unsigned char* data, std::size_t count) {
    write_at(state_->end, data, count);
}

void NewFile::write_at(std::uint64_t offset, const unsigned char* data, std::size_t count) {
    if (offset > kMostBytes || count > kMostBytes - offset) {
        fail(EFBIG, state_->path.native());
    }
    const SizeSignalHeldBack held_back;
    std::size_t done = 0;
    while (done < count) {
        const ssize_t put =
            ::pwrite(state_->file.number(), data + done, count - done, static_cast<off_t>(offset + done));
        if (put > 0) {
            done += static_cast<std::size_t>(put);
            state_->end = std::max(state_->end, offset + done);
        } else if (put == 0) {
            fail(EIO, state_->path.native());
        } else if (errno != EINTR) {
            fail_on(state_->path);
        }
    }
}

void NewFile::resize(std::uint64_t size) {
    if (size > kMostBytes) {
        fail(EFBIG, state_->path.native());
    }
    const SizeSignalHeldBack held_back;
    while (::ftruncate(state_->file.number(), static_cast<off_t>(size)) != 0) {
        if (errno != EINTR) {
            fail_on(state_->path);
        }
    }
    state_->end = size;
}

void NewFile::sync() {
    if (const int error = flush(state_->file)) {
        fail(error, state_->path.native());
    }
}

FileStamp NewFile::stamp() const {
    return stamp_of_open(state_->file.number());
}

NewFile open_to_append(const std::filesystem::path& path) {
    Descriptor file = open_file(path, O_WRONLY | O_NOFOLLOW | O_NONBLOCK);
    require_ordinary_file(file, path);
    const std::uint64_t end = stamp_of_open(file.number()).size;
    return NewFile(std::make_unique<NewFile::State>(NewFile::State{std::move(file), path, end}));
}

void sync_file(const std::filesystem::path& file) {
    const Descriptor opened = open_source(file);
    if (const int error = flush(opened)) {
        fail(error, file.native());
    }
}

void sync_folder(const std::filesystem::path& folder) {
    const Descriptor opened = open_file(folder, O_RDONLY | O_DIRECTORY);
    const int error = flush(opened);
    // What network and user-space file systems without this service return.
    if (error != 0 && error != EINVAL && error != ENOTSUP && error != ENOSYS && error != EROFS) {
        fail(error, folder.native());
    }
}

} // namespace plate_mend::host::platform
