#pragma once

#include "record/Record.h"
#include "repair/Plan.h"
#include "repair/SampleChecks.h"
#include "repair/Samples.h"
#include "repair/WorkFolder.h"
#include "repair/Workers.h"

#include <cstddef>
#include <filesystem>

namespace plate_mend::host {

class RunRecord;

/// How the files of a batch are repaired.
struct RepairSettings {
    std::filesystem::path work;   ///< Where working folders go; empty: beside each result.
    bool force = false;           ///< Replace what is at an output.
    bool resume = false;          ///< An earlier run's results for the same files may be at the outputs.
    bool fill = true;             ///< Lost pixels are filled from their neighbours.
    bool fallback = true;         ///< Salvage a JPEG where the RAW photograph is not whole.
    bool pictures = false;        ///< Add a small picture of what was delivered to each record.
    std::size_t most_samples = 8; ///< Tried per file.
};

/// What all files of a batch share. Everything may be used by several threads.
struct RepairTools {
    const Samples& samples;
    SampleChecks& checks;
    const Workers& workers;
    const Protected& inputs;     ///< Damaged files and samples.
    RunRecord* record = nullptr; ///< Where finished files are recorded; null: nowhere.
};

/// Repairs one damaged file, and delivers the results. A file that is already intact is left alone. Otherwise
/// samples that decode are tried until a result is whole, and the best result is kept; if it is not whole,
/// the general repair adds a JPEG.
///
/// The damaged file is read once, into a working copy, in which zeros replace what cannot be read. Outputs
/// appear under their names complete, or not at all. Whatever goes wrong is in the record: after a failure of
/// the machine the file is "not done", and nothing is delivered, unless it has already replaced another file.
/// Throws only Interrupted.
///
///   work     of the thread; cleared
///   no_room  set to true when the disk is full, and the batch has to stop
[[nodiscard]] Record repair_file(const PlannedFile& file, const RepairTools& tools,
                                 const RepairSettings& settings, WorkFolder& work, bool& no_room);

} // namespace plate_mend::host
