#include "platform/OutputFile.h"

#include <windows.h>

#include <algorithm>

namespace raw_mend {

namespace {

constexpr std::size_t kMostAtOnce = 1U << 30U; // WriteFile counts with 32 bits.

HANDLE handle_of(std::intptr_t number) {
    return reinterpret_cast<HANDLE>(number);
}

} // namespace

static_assert(sizeof(HANDLE) == sizeof(std::intptr_t));

OutputFile::Created OutputFile::create(const std::filesystem::path& path) {
    path_ = path;
    handle_ = reinterpret_cast<std::intptr_t>(::CreateFileW(
        path_.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (handle_of(handle_) != INVALID_HANDLE_VALUE) {
        return Created::kYes;
    }
    const DWORD error = ::GetLastError();
    return error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS ? Created::kExists
                                                                       : Created::kUnwritable;
}

bool OutputFile::write(Bytes bytes) {
    while (!bytes.empty()) {
        DWORD count = 0;
        const auto most = static_cast<DWORD>(std::min(bytes.size(), kMostAtOnce));
        if (::WriteFile(handle_of(handle_), bytes.data(), most, &count, nullptr) == 0 || count == 0) {
            return false;
        }
        bytes = bytes.subspan(count);
    }
    return true;
}

bool OutputFile::finish() {
    const bool closed = ::CloseHandle(handle_of(handle_)) != 0;
    handle_ = -1;
    if (!closed) {
        ::DeleteFileW(path_.c_str());
    }
    return closed;
}

void OutputFile::discard() noexcept {
    if (handle_of(handle_) != INVALID_HANDLE_VALUE) {
        ::CloseHandle(handle_of(handle_));
        ::DeleteFileW(path_.c_str());
        handle_ = -1;
    }
}

} // namespace raw_mend
