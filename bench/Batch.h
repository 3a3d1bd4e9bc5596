#pragma once

#include <filesystem>

namespace bench {

// How long the host takes for many files. The host is the plate-mend in the folder of the programs. Both
// throw std::runtime_error, after printing everything, when one of the ways never succeeded.

/// Prints it for 1,000 small files, compared with a plain cp of them, with the library alone, and with the
/// tasks that the host's workers do for them.
void print_small_files(const std::filesystem::path& folder, const std::filesystem::path& programs,
                       int rounds);

/// Prints it for 100 files of 24 MB, with two files at a time, compared with a copy and two decodes of each.
void print_large_files(const std::filesystem::path& folder, const std::filesystem::path& programs,
                       int rounds);

} // namespace bench
