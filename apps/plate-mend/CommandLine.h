#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

// Exit statuses of the program.
inline constexpr int kAllWhole = 0;      ///< Everything succeeded; every photograph is whole.
inline constexpr int kSomePartial = 1;   ///< Some are only partly there, or only a JPEG; a check failed.
inline constexpr int kSomeLost = 2;      ///< Of some, nothing could be delivered.
inline constexpr int kSomeNotDone = 3;   ///< The machine or a refusal was in the way of some.
inline constexpr int kUsage = 64;        ///< The command line cannot be understood. Nothing was done.
inline constexpr int kInterrupted = 130; ///< The user interrupted. What was finished stays, with its reports.

/// Runs the program with its arguments in UTF-8, without the program's own name. Gives the exit status.
///
///   program  the file of this program, which is started again for workers
[[nodiscard]] int run(const std::vector<std::string>& arguments, const std::filesystem::path& program);

} // namespace plate_mend::host
