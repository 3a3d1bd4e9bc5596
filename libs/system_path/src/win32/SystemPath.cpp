#include <system_path/system_path.h>

#include <windows.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace system_path {

namespace fs = std::filesystem;

namespace {

// The limit for folders: 12 characters below that for files, which leaves room for an 8.3 name.
constexpr std::size_t kLimit = MAX_PATH - 12;

bool starts_with_device(std::wstring_view path) {
    return path.starts_with(LR"(\\?\)") || path.starts_with(LR"(\\.\)");
}

/// The absolute path, with backslashes and without dots; the path itself where there is none.
std::wstring absolute_form(const fs::path& path) {
    const DWORD room = ::GetFullPathNameW(path.c_str(), 0, nullptr, nullptr);
    std::wstring text(room, L'\0');
    const DWORD length = ::GetFullPathNameW(path.c_str(), room, text.data(), nullptr);
    if (length == 0 || length >= room) {
        return path.native();
    }
    text.resize(length);
    return text;
}

//   C:\folder\file          \\?\C:\folder\file
//   \\server\share\file     \\?\UNC\server\share\file
std::wstring prefixed(const std::wstring& absolute_path) {
    if (absolute_path.empty() || starts_with_device(absolute_path)) {
        return absolute_path;
    }
    if (absolute_path.starts_with(LR"(\\)")) {
        return LR"(\\?\UNC)" + absolute_path.substr(1);
    }
    return LR"(\\?\)" + absolute_path;
}

std::error_code system_error(DWORD error) {
    return {static_cast<int>(error), std::system_category()};
}

/// Whether the error means that there is nothing at a path.
bool means_not_found(DWORD error) {
    switch (error) {
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
    case ERROR_INVALID_NAME:
    case ERROR_BAD_PATHNAME:
        return true;
    default:
        return false;
    }
}

/// The last error, unless it means that there is nothing at the path.
std::error_code error_of_last_call() {
    const DWORD error = ::GetLastError();
    return means_not_found(error) ? std::error_code{} : system_error(error);
}

/// Whether the target of a link exists. If not, the last error is the reason.
bool target_exists(const std::wstring& link) {
    const HANDLE target = ::CreateFileW(link.c_str(), FILE_READ_ATTRIBUTES,
                                        FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                                        OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
    if (target == INVALID_HANDLE_VALUE) {
        return false;
    }
    ::CloseHandle(target);
    return true;
}

std::error_code remove_entry(const std::wstring& path, DWORD attributes) {
    const bool is_folder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    const BOOL removed = is_folder ? ::RemoveDirectoryW(path.c_str()) : ::DeleteFileW(path.c_str());
    return removed != 0 ? std::error_code{} : error_of_last_call();
}

/// A search in a folder, closed by the destructor.
struct Search {
    explicit Search(const std::wstring& folder)
        : handle(::FindFirstFileW((folder + LR"(\*)").c_str(), &entry)) {}
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;
    ~Search() {
        if (handle != INVALID_HANDLE_VALUE) {
            ::FindClose(handle);
        }
    }

    WIN32_FIND_DATAW entry{};
    HANDLE handle;
};

std::error_code remove_tree(const std::wstring& path, DWORD attributes);

std::error_code remove_contents(const std::wstring& folder) {
    Search search(folder);
    if (search.handle == INVALID_HANDLE_VALUE) {
        return error_of_last_call();
    }
    std::error_code error;
    do {
        const std::wstring name = search.entry.cFileName;
        if (name != L"." && name != L"..") {
            error = remove_tree(folder + L'\\' + name, search.entry.dwFileAttributes);
        }
    } while (!error && ::FindNextFileW(search.handle, &search.entry) != 0);
    return error;
}

std::error_code remove_tree(const std::wstring& path, DWORD attributes) {
    const bool is_link = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && !is_link) {
        if (const std::error_code error = remove_contents(path)) {
            return error;
        }
    }
    return remove_entry(path, attributes);
}

} // namespace

fs::path reachable(const fs::path& path) {
    if (path.empty() || starts_with_device(path.native())) {
        return path;
    }
    const std::wstring absolute_path = absolute_form(path);
    return absolute_path.size() < kLimit ? path : fs::path(prefixed(absolute_path));
}

fs::file_status status(const fs::path& path, std::error_code& error) {
    error.clear();
    const std::wstring name = prefixed(absolute_form(path));
    const DWORD attributes = ::GetFileAttributesW(name.c_str());
    const bool is_link =
        attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    if (attributes == INVALID_FILE_ATTRIBUTES || (is_link && !target_exists(name))) {
        error = error_of_last_call();
        return fs::file_status(error ? fs::file_type::none : fs::file_type::not_found);
    }
    return fs::file_status((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0 ? fs::file_type::directory
                                                                        : fs::file_type::regular);
}

void remove(const fs::path& path, std::error_code& error) {
    remove_reachable(fs::path(prefixed(absolute_form(path))), error);
}

void remove_reachable(const fs::path& path, std::error_code& error) noexcept {
    const DWORD attributes = ::GetFileAttributesW(path.c_str());
    error = attributes == INVALID_FILE_ATTRIBUTES ? error_of_last_call()
                                                  : remove_entry(path.native(), attributes);
}

void remove_all(const fs::path& path, std::error_code& error) {
    const std::wstring name = prefixed(absolute_form(path));
    const DWORD attributes = ::GetFileAttributesW(name.c_str());
    error = attributes == INVALID_FILE_ATTRIBUTES ? error_of_last_call() : remove_tree(name, attributes);
}

} // namespace system_path
