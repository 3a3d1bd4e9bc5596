#pragma once

#include "support/Bytes.h"

#include <cstddef>
#include <functional>
#include <random>
#include <string>
#include <vector>

namespace test {

/// A photograph and where its image is: [image_begin, image_end).
struct Shot {
    Bytes bytes;
    std::size_t image_begin = 0;
    std::size_t image_end = 0;

    [[nodiscard]] std::size_t image_size() const { return image_end - image_begin; }
};

/// What a damage takes bytes from. All but the stranger are of one camera.
struct DamageSource {
    const Shot& original;
    const Shot& other;    ///< Another photograph.
    const Bytes& foreign; ///< A photograph of another camera.
};

/// One kind of damage.
struct VerdictDamage {
    using Random = std::mt19937;

    std::string name;
    /// Returns the damaged photograph. Places and bytes come from the random numbers.
    std::function<Bytes(const DamageSource& source, Random& random)> apply;
    /// Instead: damages the sample, and the photograph only loses its head.
    std::function<Bytes(const Shot& sample, Random& random)> apply_to_sample{};
    bool with_sibling = false; ///< An intact sample is there, too.
    bool ambiguous = false;    ///< Parts of two photographs are in the file, and either may be meant.
};

/// All kinds. Sizes are smaller in images that have less than four times as many bytes.
[[nodiscard]] const std::vector<VerdictDamage>& verdict_damages();

} // namespace test
