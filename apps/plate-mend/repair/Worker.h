#pragma once

#include <filesystem>

namespace plate_mend::host {

/// What a worker does: the task in the folder, and then those that its starter sends. It ends when there are
/// no more, when it could not answer, or when it had better not do another. Returns the exit status of the
/// process.
[[nodiscard]] int serve(const std::filesystem::path& folder);

} // namespace plate_mend::host
