#pragma once

#include <filesystem>

namespace plate_mend::host {

/// Whether the preview inside a RAW file is as the camera wrote it, as far as a decode shows: libjpeg decodes
/// it without a warning. True where the file has none, or one that is not a JPEG. LibRaw may crash or hang on
/// hostile files, so this runs in a worker.
[[nodiscard]] bool is_preview_whole(const std::filesystem::path& photograph);

/// Whether a damaged file shows that bytes are missing before the end of its preview: LibRaw opens the file,
/// and the preview does not end where its tables say. LibRaw may crash or hang on hostile files, so this runs
/// in a worker.
[[nodiscard]] bool is_lost_in_preview(const std::filesystem::path& damaged);

} // namespace plate_mend::host
