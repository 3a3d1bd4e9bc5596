#pragma once

#include "record/Record.h"
#include "repair/Plan.h"
#include "repair/SampleChecks.h"
#include "repair/Samples.h"
#include "repair/Workers.h"

#include <cstddef>
#include <filesystem>

namespace plate_mend::host {

class RunRecord;

/// How files of a batch are repaired.
struct RepairSettings {
    std::filesystem::path work;   ///< Where working folders go; empty: beside each result.
    bool force = false;           ///< Replace what is at an output.
    bool resume = false;          ///< A former run's results of the same files may be at the outputs.
    bool fallback = true;         ///< Salvage a JPEG where the RAW photograph is not whole.
    bool pictures = false;        ///< Records have a small picture of what was delivered.
    std::size_t most_samples = 8; ///< Tried for a file.
};

/// What all files of a batch share. Everything may be used by several threads.
struct RepairTools {
    const Samples& samples;
    SampleChecks& checks;
    const Workers& workers;
    const Protected& inputs;     ///< Damaged files and samples.
    RunRecord* record = nullptr; ///< Where finished files are recorded; null: nowhere.
};

/// Repairs one damaged file, and delivers what came of it. A file that is intact already is left alone. Else
/// samples that decode are tried until a result is whole, the best result is kept, and where it is not whole
/// the general repair gives a JPEG beside it.
///
/// The damaged file is read once, into a working copy; what of it cannot be read becomes zeros there. Outputs
/// appear whole under their names or not at all. Whatever goes wrong is in the record: a failure of the
/// machine makes it "not done"; then nothing was delivered, except where that replaced something. Throws
/// Interrupted only.
///
///   no_room  becomes true when the disk is full; the batch has to stop then
[[nodiscard]] Record repair_file(const PlannedFile& file, const RepairTools& tools,
                                 const RepairSettings& settings, bool& no_room);

} // namespace plate_mend::host
