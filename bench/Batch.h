#pragma once

#include <filesystem>

namespace bench {

/// Prints how long the host takes for 1,000 small files, compared with a plain cp of them. The host is the
/// plate-mend in the folder of the programs. Throws std::runtime_error, after printing everything, when one
/// of the ways never succeeded.
void print_batch(const std::filesystem::path& folder, const std::filesystem::path& programs);

} // namespace bench
