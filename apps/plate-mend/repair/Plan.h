#pragma once

#include "files/FileList.h"
#include "files/Protected.h"

#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// Where the results of one damaged file go.
struct Outputs {
    std::filesystem::path raw;
    std::filesystem::path jpeg;
    std::filesystem::path other_jpeg; ///< NAME.EXT.jpg, for the case that something is at `jpeg`.
};

/// A damaged file, and where its results go.
struct PlannedFile {
    Input input;
    Outputs outputs;
};

/// Where results go in general.
struct Destination {
    std::filesystem::path out; ///< Folder of the results; empty: beside each damaged file.
    std::filesystem::path
        output; ///< The one result's own name; empty for a name made from the damaged file's.
    bool long_jpeg_names = false; ///< JPEGs are named NAME.EXT.jpg even where NAME.jpg is free.
};

/// Finds places for the results of all files, no two alike, as the file system compares names, and none that
/// is protected. Where two files' results would share a place, the first keeps it, and the others have a
/// problem; JPEGs of both are named NAME.EXT.jpg instead, as far as that is free.
[[nodiscard]] std::vector<PlannedFile> plan(const std::vector<Input>& inputs, const Destination& destination,
                                            const Protected& inputs_and_samples);

} // namespace plate_mend::host
