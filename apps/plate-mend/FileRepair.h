#pragma once

#include "FileList.h"
#include "Record.h"
#include "Samples.h"
#include "Worker.h"

#include <filesystem>
#include <optional>
#include <string>

namespace plate_mend::host {

/// How files of a batch are repaired.
struct RepairSettings {
    std::filesystem::path out; ///< Folder of the results; empty: beside each damaged file.
    std::filesystem::path
        output;            ///< The one result's own name; empty for a name made from the damaged file's.
    bool force = false;    ///< Replace what stands at an output.
    bool fallback = true;  ///< Salvage a JPEG where the RAW photograph is not whole.
    bool pictures = false; ///< Records have a small picture of what was delivered.
    bool hashes = false;   ///< Records have SHA-256 sums.
    std::size_t most_samples = 8; ///< That are tried for a file.
};

/// Where the results of one damaged file go.
struct Outputs {
    std::filesystem::path raw;
    std::filesystem::path jpeg;
};
[[nodiscard]] Outputs outputs_of(const Input& input, const RepairSettings& settings);

/// Repairs one damaged file, and delivers what came of it: samples are tried until a result is whole, the
/// best result is kept, and where it is not whole the general repair gives a JPEG beside it.
///
/// Inputs are only read; those that the library wants to write to are copied where that is not allowed, and a
/// CR3 sample always, as others may use it at the same time. Outputs appear whole under their name or not at
/// all. Whatever goes wrong with this one file stands in the record. Throws Interrupted only.
[[nodiscard]] Record repair_file(const Input& input, const Samples& samples, const Workers& workers,
                                 const RepairSettings& settings);

/// The record of a damaged file whose results are there already, judged anew; nothing when none is there.
/// Throws Interrupted only.
[[nodiscard]] std::optional<Record> judged_anew(const Input& input, const Workers& workers,
                                                const RepairSettings& settings);

} // namespace plate_mend::host
