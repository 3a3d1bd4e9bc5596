#pragma once

#include "run/RepairOptions.h"
#include "run/RepairSelection.h"

namespace plate_mend::host {

class RunRecord;

/// Prints what a run would do with each file, and how much room it needs: a line per file with what it is,
/// the sample and the engines that would be tried first, and the path of the result. Reads the beginnings of
/// files, and writes nothing. Returns the exit status: kSomeNotDone if some files would not be done, or if
/// there is too little room. Throws Interrupted and MachineFailure.
///
///   record  of earlier runs in the folder of results; null for none
[[nodiscard]] int dry_run(const RepairSelection& selection, const RepairOptions& options, RunRecord* record);

} // namespace plate_mend::host
