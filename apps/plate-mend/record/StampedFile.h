#pragma once

#include "record/Json.h"
#include "record/Record.h"

#include <optional>
#include <string>

// Files as the record of a run knows them: with their size, times and sum, and so that it shows whether they
// are still the same.

namespace plate_mend::host {

/// With its absolute path, since the next run may be started elsewhere.
[[nodiscard]] Json stamped_to_json(const FileIdentity& file);
/// Null for none.
[[nodiscard]] Json stamped_to_json(const std::optional<FileIdentity>& file);
/// The file again. Throws JsonError.
[[nodiscard]] std::optional<FileIdentity> stamped_file_from(const Json& json);

/// Whether the file is unchanged: by its times if they are the same, otherwise by its bytes. Throws
/// Interrupted.
[[nodiscard]] bool is_unchanged(const FileIdentity& file);
/// The same; true for none.
[[nodiscard]] bool is_as_recorded(const std::optional<FileIdentity>& file);
/// Whether a file has the name with this name key, and is unchanged. Throws Interrupted.
[[nodiscard]] bool is_result_there(const std::optional<FileIdentity>& file, const std::string& key);

/// Whether both are the same bytes, as far as sizes and sums show it, or neither is any.
[[nodiscard]] bool is_same(const std::optional<FileIdentity>& one, const std::optional<FileIdentity>& other);

} // namespace plate_mend::host
