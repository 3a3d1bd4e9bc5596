#pragma once

#include "support/Bytes.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace test {

/// A damage that leaves the image whole.
struct Damage {
    std::string name;
    /// From a photograph, the offset of its image, and another photograph from the same camera.
    std::function<Bytes(const Bytes& file, std::size_t image, const Bytes& other)> make;
    bool ends_alike = true; ///< Whether the file ends where the photograph does.
};

/// Heads lost, displaced, and both; filler and remains of another photograph before it; what is after the
/// image cut off.
[[nodiscard]] const std::vector<Damage>& damages();

} // namespace test
