#pragma once

#include "record/Record.h"

// The exit statuses of the program.

namespace plate_mend::host {

inline constexpr int kAllWhole = 0;      ///< Everything succeeded; every photograph is whole.
inline constexpr int kSomePartial = 1;   ///< Some are only partly there, or only a JPEG; a check failed.
inline constexpr int kSomeLost = 2;      ///< Nothing could be delivered for some.
inline constexpr int kSomeNotDone = 3;   ///< The machine or a refusal prevented some.
inline constexpr int kUsage = 64;        ///< The command line cannot be understood. Nothing was done.
inline constexpr int kInterrupted = 130; ///< The user interrupted. What was finished stays, with its reports.

/// The status that a file with this verdict calls for: 0 to 3.
[[nodiscard]] int status_of(Verdict verdict);

} // namespace plate_mend::host
