#include "record/StampedFile.h"

#include "files/Failures.h"
#include "files/Sha256.h"
#include "platform/Files.h"
#include "platform/Names.h"
#include "text/Paths.h"

#include <cstdint>
#include <filesystem>
#include <system_error>

namespace plate_mend::host {

namespace fs = std::filesystem;

Json stamped_to_json(const FileIdentity& file) {
    return Json::object({{"path", escaped_name(utf8_from(fs::absolute(path_from(file.path))))},
                         {"size", file.size},
                         {"sha256", file.sha256},
                         {"modified", file.modified},
                         {"changed", file.changed}});
}

Json stamped_to_json(const std::optional<FileIdentity>& file) {
    return file ? stamped_to_json(*file) : Json();
}

std::optional<FileIdentity> stamped_file_from(const Json& json) {
    if (json.is_null()) {
        return std::nullopt;
    }
    return FileIdentity{unescaped_name(json.required_text("path")),
                        json.integer<std::uint64_t>("size").value_or(0), json.text("sha256"),
                        json.integer<std::int64_t>("modified").value_or(0),
                        json.integer<std::int64_t>("changed").value_or(0)};
}

bool is_unchanged(const FileIdentity& file) {
    const fs::path path = path_from(file.path);
    try {
        const auto stamp = platform::stamp_of(path);
        if (!stamp || !stamp->regular || stamp->size != file.size) {
            return false;
        }
        return (stamp->modified == file.modified && stamp->changed == file.changed) ||
               (!file.sha256.empty() && sha256_of(path) == file.sha256);
    } catch (const std::system_error&) {
        return false;
    } catch (const MachineFailure&) {
        return false;
    }
}

bool is_same(const std::optional<FileIdentity>& one, const std::optional<FileIdentity>& other) {
    return one && other ? one->size == other->size && one->sha256 == other->sha256 : !one && !other;
}

bool is_as_recorded(const std::optional<FileIdentity>& file) {
    return !file || is_unchanged(*file);
}

bool is_result_there(const std::optional<FileIdentity>& file, const std::string& key) {
    return file && platform::name_key(path_from(file->path)) == key && is_unchanged(*file);
}

} // namespace plate_mend::host
