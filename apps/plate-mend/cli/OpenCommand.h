#pragma once

#include "platform/Desktop.h"

#include <filesystem>
#include <functional>
#include <string>

namespace plate_mend::host {

/// How the window is opened.
struct OpenOptions {
    std::string folder;      ///< Of damaged photographs, chosen already; empty: none.
    bool no_browser = false; ///< Only print the address.
};

/// The user's desktop; tests replace it.
struct Desktop {
    std::function<bool(const std::string& address)> open_address = platform::open_address;
    std::function<bool(const std::filesystem::path& path)> open_path = platform::open_path;
    std::function<bool()> has_started_program = platform::is_started_from_desktop;
};

/// Serves the program's page until it is over: when the page says so, after an hour without it, or when the
/// user interrupts. Returns the exit status.
[[nodiscard]] int run_open(const OpenOptions& options, const std::filesystem::path& program,
                           const Desktop& desktop = {});

} // namespace plate_mend::host
