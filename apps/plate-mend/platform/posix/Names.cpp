#include "platform/Names.h"

#include <system_error>

namespace plate_mend::host::platform {

namespace fs = std::filesystem;

std::string bytes_of(const fs::path& path) {
    return path.native();
}

fs::path path_of(const std::string& bytes) {
    return bytes;
}

std::string name_key(const fs::path& path) {
    std::error_code error;
    fs::path existing = fs::absolute(path, error);
    if (error) {
        return path.native();
    }
    fs::path rest;
    fs::path resolved = fs::canonical(existing, error);
    while (error && existing.has_relative_path()) {
        rest = rest.empty() ? existing.filename() : existing.filename() / rest;
        existing = existing.parent_path();
        resolved = fs::canonical(existing, error);
    }
    fs::path key = ((error ? existing : resolved) / rest).lexically_normal();
    if (!key.has_filename() && key.has_relative_path()) {
        key = key.parent_path(); // Without the slash at its end.
    }
    return key.native();
}

} // namespace plate_mend::host::platform
