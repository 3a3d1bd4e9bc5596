#include "platform/Files.h"

#include "platform/win32/Errors.h"
#include "platform/win32/Handle.h"
#include "platform/win32/Stamp.h"

#include <algorithm>
#include <limits>

namespace plate_mend::host::platform {

namespace {

constexpr std::uint64_t kMostBytes = std::numeric_limits<std::int64_t>::max();
constexpr std::size_t kMostAtOnce = std::size_t{1} << 30U;

// Folders are opened too, so as to say what they are.
Handle open_source(const std::filesystem::path& path, DWORD access) {
    Handle file = open_file(path, access, kShareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    require_ordinary_file(file, path);
    return file;
}

Handle open_existing_to_write(const std::filesystem::path& path) {
    Handle file = open_file(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE,
                            OPEN_EXISTING, FILE_FLAG_OPEN_REPARSE_POINT | FILE_FLAG_BACKUP_SEMANTICS);
    require_no_link(file, path);
    require_ordinary_file(file, path);
    return file;
}

OVERLAPPED at(std::uint64_t offset) {
    OVERLAPPED place{};
    place.Offset = static_cast<DWORD>(offset & 0xFFFFFFFFU);
    place.OffsetHigh = static_cast<DWORD>(offset >> 32U);
    return place;
}

DWORD share_of(std::size_t count) {
    return static_cast<DWORD>(std::min(count, kMostAtOnce));
}

} // namespace

struct SourceFile::State {
    Handle file;
    std::filesystem::path path;
};

SourceFile::SourceFile(const std::filesystem::path& path)
    : state_(std::make_unique<State>(State{open_source(path, GENERIC_READ), path})) {}

SourceFile::~SourceFile() = default;

FileStamp SourceFile::stamp() const {
    return stamp_of_open(state_->file, state_->path);
}

std::size_t SourceFile::read(std::uint64_t offset, unsigned char* data, std::size_t count) const {
    if (offset >= kMostBytes) {
        return 0;
    }
    count = static_cast<std::size_t>(std::min<std::uint64_t>(count, kMostBytes - offset));
    std::size_t done = 0;
    while (done < count) {
        OVERLAPPED place = at(offset + done);
        DWORD got = 0;
        if (::ReadFile(state_->file.get(), data + done, share_of(count - done), &got, &place) == FALSE &&
            ::GetLastError() != ERROR_HANDLE_EOF) {
            fail_on(state_->path);
        }
        if (got == 0) {
            break;
        }
        done += got;
    }
    return done;
}

struct NewFile::State {
    Handle file;
    std::filesystem::path path;
    std::uint64_t end = 0;
};

// A link that has the name is not followed to make what it leads to.
NewFile::NewFile(const std::filesystem::path& path)
    : state_(std::make_unique<State>(
          State{open_file(path, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, CREATE_NEW,
                          FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT),
                path})) {}

NewFile::NewFile(std::unique_ptr<State> state) : state_(std::move(state)) {}

NewFile::NewFile(NewFile&& other) noexcept = default;

NewFile::~NewFile() = default;

void NewFile::write(const unsigned char* data, std::size_t count) {
    write_at(state_->end, data, count);
}

void NewFile::write_at(std::uint64_t offset, const unsigned char* data, std::size_t count) {
    if (offset > kMostBytes || count > kMostBytes - offset) {
        fail_on(state_->path, std::errc::file_too_large);
    }
    std::size_t done = 0;
    while (done < count) {
        OVERLAPPED place = at(offset + done);
        DWORD put = 0;
        if (::WriteFile(state_->file.get(), data + done, share_of(count - done), &put, &place) == FALSE) {
            fail_on(state_->path);
        }
        if (put == 0) {
            fail_on(state_->path, std::errc::io_error);
        }
        done += put;
        state_->end = std::max(state_->end, offset + done);
    }
}

void NewFile::resize(std::uint64_t size) {
    if (size > kMostBytes) {
        fail_on(state_->path, std::errc::file_too_large);
    }
    FILE_END_OF_FILE_INFO info{};
    info.EndOfFile.QuadPart = static_cast<LONGLONG>(size);
    if (::SetFileInformationByHandle(state_->file.get(), FileEndOfFileInfo, &info, sizeof info) == FALSE) {
        fail_on(state_->path);
    }
    state_->end = size;
}

void NewFile::sync() {
    if (::FlushFileBuffers(state_->file.get()) == FALSE) {
        fail_on(state_->path);
    }
}

FileStamp NewFile::stamp() const {
    return stamp_of_open(state_->file, state_->path);
}

NewFile open_to_append(const std::filesystem::path& path) {
    Handle file = open_existing_to_write(path);
    const std::uint64_t end = stamp_of_open(file, path).size;
    return NewFile(std::make_unique<NewFile::State>(NewFile::State{std::move(file), path, end}));
}

void sync_file(const std::filesystem::path& file) {
    const Handle opened = open_source(file, GENERIC_READ | GENERIC_WRITE);
    if (::FlushFileBuffers(opened.get()) == FALSE) {
        fail_on(file);
    }
}

void sync_folder(const std::filesystem::path& folder) {
    const auto stamp = stamp_of(folder); // Windows has no way to ask for more.
    if (!stamp) {
        fail_on(folder, std::errc::no_such_file_or_directory);
    }
    if (!stamp->folder) {
        fail_on(folder, std::errc::not_a_directory);
    }
}

} // namespace plate_mend::host::platform
