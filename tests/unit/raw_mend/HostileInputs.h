#pragma once

#include "support/Bytes.h"

#include <string>
#include <vector>

namespace test {

/// A photograph of a builder, whose image the engine finds.
struct SmallPhotograph {
    std::string name;
    Bytes sample;
    Bytes damaged; ///< Another one of the same camera, intact.
};

/// Pairs of all builders, in both byte orders where there are two.
[[nodiscard]] const std::vector<SmallPhotograph>& small_photographs();

/// Two files that are made to cost more than they are worth.
struct HostilePair {
    std::string name;
    Bytes sample;
    Bytes damaged;
};

/// Of about so many bytes each, 64 KiB at least.
[[nodiscard]] std::vector<HostilePair> hostile_pairs(std::size_t size);

} // namespace test
