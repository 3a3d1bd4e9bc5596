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
    std::filesystem::path other_jpeg; ///< NAME.EXT.jpg, used when `jpeg` is taken.
    std::filesystem::path mask;       ///< Empty: none is wanted.
    std::filesystem::path
        sidecar{}; ///< XMP of the RAW photograph. Empty: none is wanted, or has a free name.
};

/// A damaged file, and where its results go.
struct PlannedFile {
    Input input;
    Outputs outputs;
};

/// Where results go.
struct Destination {
    std::filesystem::path out;    ///< Folder for results; empty: beside each damaged file.
    std::filesystem::path output; ///< The name of the only result; empty: derived from the damaged file's.
    bool long_jpeg_names = false; ///< JPEGs are named NAME.EXT.jpg even where NAME.jpg is free.
    /// The mask of the only result, or an ending: then masks are named NAME and this, beside each result, or
    /// NAME.EXT and this where several results have one name. Empty: no masks.
    std::string mask{};
    bool sidecars = false; ///< Beside each RAW photograph: NAME.xmp, or NAME.EXT.xmp where several want that.
};

/// Whether this is an ending, such as ".mask.png", and not a path: it begins with a dot and names no folder.
[[nodiscard]] bool is_mask_ending(const std::string& mask);

/// Chooses the outputs of all files. No two are the same, as the file system compares names, and none is
/// protected. Where the results of two files would have the same path, the first file keeps it and the others
/// get a problem, and likewise with masks; JPEGs of both are named NAME.EXT.jpg instead, as far as these
/// names are free. A sidecar is left out where its name is that of another output.
[[nodiscard]] std::vector<PlannedFile> plan(const std::vector<Input>& inputs, const Destination& destination,
                                            const Protected& inputs_and_samples);

} // namespace plate_mend::host
