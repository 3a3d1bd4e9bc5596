#pragma once

#include "record/Json.h"

#include <filesystem>
#include <vector>

namespace plate_mend::host {

/// The folders of this machine where a choice or a search may begin: the user's own, if it is known, and
/// drives.
[[nodiscard]] std::vector<std::filesystem::path> starting_folders();

/// A folder: its path, that of the folder above it, and the folders in it by name, without hidden ones.
/// Nothing else of the disk is shown. A folder that cannot be read has a "problem".
[[nodiscard]] Json folder_to_json(const std::filesystem::path& folder);

} // namespace plate_mend::host
