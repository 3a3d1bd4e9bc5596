#pragma once

#include <span>
#include <string_view>

namespace plate_mend::host {

/// A file of the page, from window/page.
struct PageFile {
    std::string_view name; ///< "window.js".
    std::string_view content;
};

/// All of them. They are in the program.
[[nodiscard]] std::span<const PageFile> page_files();

} // namespace plate_mend::host
