#pragma once

#include "run/RepairOptions.h"
#include "window/Board.h"

namespace plate_mend::host {

/// The options of a run over folders, and so those of `plate-mend repair DAMAGED --samples SAMPLES --out OUT
/// --resume`: either can go on with the other's run.
[[nodiscard]] RepairOptions options_for(const ChosenFolders& folders);

/// Finds out what a run over these folders would do with each file, and puts it on the board as it comes. The
/// folder of results may be missing. Writes nothing. Throws as run_repairs does.
void recognise(const ChosenFolders& folders, Board& board);

} // namespace plate_mend::host
