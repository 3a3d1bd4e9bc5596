#pragma once

#include "facts/PhotographFacts.h"

#include <filesystem>
#include <set>
#include <span>
#include <string>

namespace plate_mend::host {

/// Texts to be searched for: names of cameras and makers, and of firmware.
using KnownTexts = std::set<std::string, std::less<>>;

/// What survives in a damaged file.
struct Remains {
    PhotographFacts facts;
    std::set<std::string> texts; ///< Those of the known texts that are anywhere in the file.
    /// The file begins as a photograph does, with the camera's name: no other trace counts then.
    bool names_its_camera = false;
};

/// Searches a damaged file, up to 256 MiB of it, for directories, TIFF structures (also within JPEGs and
/// boxes), heads of RAF, quantisation tables and frames of JPEGs, sample entries of CR3 and known texts,
/// wherever they are and without trusting any offset from the start of the file. A file that cannot be read
/// has none. Throws Interrupted.
[[nodiscard]] Remains remains_of(const std::filesystem::path& file, const KnownTexts& texts);

/// Adds what remains_of finds in bytes without following offsets: directories with picture sizes, tables and
/// frames of JPEGs, sample entries.
void add_remains(std::span<const unsigned char> bytes, PhotographFacts& facts);

} // namespace plate_mend::host
