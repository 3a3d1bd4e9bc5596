#pragma once

#include "bench/Pairs.h"

#include <filesystem>
#include <vector>

namespace bench {

/// The files of a pair, and of a repair of it.
struct PairFiles {
    std::filesystem::path sample;
    std::filesystem::path damaged;
    std::filesystem::path output;
    std::filesystem::path temporary;
};

/// Copies pieces of two files to a new one, with reads and writes of 1 MiB.
void copy_pieces(const std::vector<Piece>& pieces, const std::filesystem::path& sample,
                 const std::filesystem::path& damaged, const std::filesystem::path& output);

/// The least that the machine has to do for the bytes of a repair: the sample is copied to the temporary
/// file, the pieces are copied to the output (those of the sample from the temporary file), and the temporary
/// file is removed; all in this process, with reads and writes of 1 MiB. A CR3 repair has no temporary file:
/// its pieces come from the sample itself.
void copy_as_the_machine_can(const Pair& pair, const PairFiles& files);

} // namespace bench
