#pragma once

#include "bench/Pairs.h"

#include <filesystem>

namespace bench {

/// Where the files of a pair lie, and where the output and the temporary file go.
struct PairFiles {
    std::filesystem::path sample;
    std::filesystem::path damaged;
    std::filesystem::path output;
    std::filesystem::path temporary;
};

/// What the machine itself needs for the bytes of a repair: the sample is copied to the temporary file, the
/// pieces are copied to the output (those of the sample from the temporary file), and the temporary file is
/// removed. All in this process, with reads and writes of 1 MiB. A CR3 repair has no temporary file: its
/// pieces come from the sample itself.
void copy_as_the_machine_can(const Pair& pair, const PairFiles& files);

} // namespace bench
