#include "platform/Names.h"

#include "platform/win32/Handle.h"
#include "platform/win32/Wtf8.h"

#include <string_view>
#include <system_error>

namespace plate_mend::host::platform {

namespace {

namespace fs = std::filesystem;

constexpr std::wstring_view kPrefix = LR"(\\?\)";
constexpr std::wstring_view kSharePrefix = LR"(\\?\UNC\)";

/// Without the prefix that long paths have.
std::wstring plain(std::wstring name) {
    if (name.starts_with(kSharePrefix)) {
        return LR"(\\)" + name.substr(kSharePrefix.size());
    }
    return name.starts_with(kPrefix) ? name.substr(kPrefix.size()) : name;
}

/// The name by which the system knows what a path leads to. Empty where it leads to nothing.
std::wstring final_name(const fs::path& path) {
    const Handle file = try_to_open(path, 0, kShareAll, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
    if (!file) {
        return {};
    }
    const DWORD room = ::GetFinalPathNameByHandleW(file.get(), nullptr, 0, FILE_NAME_NORMALIZED);
    std::wstring name(room, L'\0');
    const DWORD length = ::GetFinalPathNameByHandleW(file.get(), name.data(), room, FILE_NAME_NORMALIZED);
    if (length >= room) {
        return {};
    }
    name.resize(length);
    return plain(name);
}

std::wstring in_one_case(const std::wstring& name) {
    if (name.empty()) {
        return name;
    }
    const int count = static_cast<int>(name.size());
    std::wstring folded(name.size(), L'\0');
    const int folded_count = ::LCMapStringEx(LOCALE_NAME_INVARIANT, LCMAP_UPPERCASE, name.data(), count,
                                             folded.data(), count, nullptr, nullptr, 0);
    return folded_count == count ? folded : name;
}

} // namespace

std::string bytes_of(const fs::path& path) {
    return wtf8_from(path.native());
}

fs::path path_of(const std::string& bytes) {
    return wide_from(bytes);
}

std::string name_key(const fs::path& path) {
    std::error_code error;
    fs::path existing = fs::absolute(path, error);
    if (error) {
        return wtf8_from(in_one_case(path.native()));
    }
    existing = fs::path(plain(existing.make_preferred().native())).lexically_normal();
    fs::path rest;
    std::wstring resolved = final_name(existing);
    while (resolved.empty() && existing.has_relative_path()) {
        rest = rest.empty() ? existing.filename() : existing.filename() / rest;
        existing = existing.parent_path();
        resolved = final_name(existing);
    }
    fs::path key = (resolved.empty() ? existing : fs::path(resolved)) / rest;
    if (!key.has_filename() && key.has_relative_path()) {
        key = key.parent_path(); // Without the backslash at its end.
    }
    return wtf8_from(in_one_case(key.make_preferred().native()));
}

} // namespace plate_mend::host::platform
