#pragma once

#include "record/Json.h"
#include "window/Board.h"

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

// What the page is sent. A path is an object of its bytes ("path", as escaped_name returns them) to be sent
// back, and of a text to be shown ("text"); all other texts are to be shown as they are.

namespace plate_mend::host {

[[nodiscard]] Json to_json(const std::filesystem::path& path);

/// All but the files.
[[nodiscard]] Json to_json(const WindowState& state, std::uint64_t version,
                           std::chrono::steady_clock::time_point now);

/// A part of the list of files.
struct FilesRequest {
    std::size_t from = 0;
    std::size_t count = 0;
    std::string show; ///< A verdict's slug, "waiting", "working", or empty for all.
};
[[nodiscard]] Json files_to_json(const WindowState& state, const FilesRequest& request);

/// All about a file.
[[nodiscard]] Json to_json(const WindowState& state, std::size_t index);

} // namespace plate_mend::host
