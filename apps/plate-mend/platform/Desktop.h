#pragma once

#include <filesystem>
#include <string>
#include <vector>

// What the program asks of the user's desktop.

namespace plate_mend::host::platform {

/// Opens an address in the user's browser. Returns whether the desktop accepted it.
[[nodiscard]] bool open_address(const std::string& address);

/// Shows a folder, or opens a file with the program that the desktop has for it. Likewise.
[[nodiscard]] bool open_path(const std::filesystem::path& path);

/// Whether the program was started from a desktop, by a double click, and not from a terminal: there is a
/// display, none of its streams is a terminal, and no terminal is behind it. On Windows: its console is its
/// own, and what it prints goes neither into a file nor to another program.
[[nodiscard]] bool is_started_from_desktop();

/// The user's own folder; empty if that is unknown.
[[nodiscard]] std::filesystem::path home_folder();

/// Where a choice of folders may begin besides that: drives, and media that are mounted.
[[nodiscard]] std::vector<std::filesystem::path> volumes();

} // namespace plate_mend::host::platform
