#pragma once

#include "record/CameraFacts.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace plate_mend::host {

/// A repaired photograph whose own metadata are looked for.
struct MetadataRequest {
    std::filesystem::path damaged;
    std::filesystem::path result;       ///< The repaired photograph.
    std::optional<std::uint64_t> image; ///< Where the damaged file has its image, if an engine says so.
    std::string sample;                 ///< The sample's name for the sidecar: well-formed UTF-8.
    std::filesystem::path sidecar;      ///< To be written; empty: none is wanted.
};

/// What survives in a damaged file of the metadata of the photograph that was repaired; nothing where there
/// is nothing that is certainly its own. Writes a sidecar if some of it is not in the result's own metadata.
/// LibRaw may crash or hang on hostile files, so this runs in a worker. Throws std::runtime_error and
/// std::system_error where the sidecar cannot be written.
[[nodiscard]] std::optional<OwnMetadata> find_own_metadata(const MetadataRequest& request);

} // namespace plate_mend::host
