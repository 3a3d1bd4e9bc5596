#pragma once

#include "window/Board.h"

#include <filesystem>

namespace plate_mend::host {

/// Writes the contact sheet of what the board shows, the one that --report writes, to contact-sheet.html in
/// the folder of results. One of an earlier run or of this one is replaced, any other file is not. Returns
/// its path. Throws MachineFailure, RunIsLocked, and UsageError where its place is taken.
[[nodiscard]] std::filesystem::path save_contact_sheet(const Board& board);

} // namespace plate_mend::host
