#pragma once

#include <string>
#include <vector>

namespace plate_mend::host {

// Exit statuses of the program.
inline constexpr int kSucceeded = 0; ///< Everything that was asked for succeeded.
inline constexpr int kFailed = 1;    ///< Something did not; the standard error stream says what.
inline constexpr int kUsage = 64;    ///< The command line cannot be understood. Nothing was done.

/// Runs the program with its arguments in UTF-8, without the program's own name. Gives the exit status.
[[nodiscard]] int run(const std::vector<std::string>& arguments);

} // namespace plate_mend::host
