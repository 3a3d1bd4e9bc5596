#pragma once

#include <filesystem>

namespace bench {

/// Prints what 1,000 small files take through the host, against a plain cp of them. The host is the
/// plate-mend that stands in the folder of the programs. Throws std::runtime_error, once all is printed, when
/// a way never succeeded.
void print_batch(const std::filesystem::path& folder, const std::filesystem::path& programs);

} // namespace bench
