#pragma once

#include "record/Record.h"

#include <cstdint>
#include <filesystem>
#include <optional>

namespace plate_mend::host {

/// What the raw engine did.
struct RawRepair {
    std::int32_t code = 0;           ///< Of raw_mend.h.
    std::optional<FoundImage> image; ///< If the code is 0.
};

/// Repairs a damaged photograph with the raw engine, which goes by content. The output must not exist; it is
/// removed again after an error. If it is empty, nothing is written, and the notes say whether the result
/// would be the beginning of the damaged file. Lost pixels are filled from their neighbours, or left zero.
/// Throws std::bad_alloc when memory runs out. For workers.
[[nodiscard]] RawRepair run_raw_engine(const std::filesystem::path& damaged,
                                       const std::filesystem::path& sample,
                                       const std::filesystem::path& output, bool fill);

} // namespace plate_mend::host
