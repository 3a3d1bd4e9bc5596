#pragma once

#include "support/RawLayout.h"

#include <functional>
#include <string>
#include <vector>

namespace test {

/// What survives of the raw image in a damaged photograph.
enum class Survival {
    kWhole, ///< All bytes, and those of each piece side by side.
    kTorn,  ///< All bytes, but those of a piece are apart or in another order.
    kLost,  ///< Less.
};

/// A damaged photograph, as runs of the original's bytes and of foreign ones. Positions are in the damaged
/// file as it is at the time of the call; what they name must be inside.
class DamagedRaw {
  public:
    explicit DamagedRaw(const Bytes& original);

    [[nodiscard]] std::size_t size() const;
    void lose(std::size_t at, std::size_t count);
    void put_in(std::size_t at, Bytes foreign);
    void overwrite(std::size_t at, const Bytes& foreign);
    /// Exchanges [first, first + count) and [second, second + count), which do not overlap.
    void swap(std::size_t first, std::size_t second, std::size_t count);

    [[nodiscard]] Bytes bytes() const;
    [[nodiscard]] Survival survival_of(const RawLayout& layout) const;

  private:
    /// A run of the original's bytes, or of foreign ones if there are any.
    struct Run {
        std::size_t begin = 0;
        std::size_t length = 0;
        Bytes foreign;
    };

    /// The index of the run that begins at a position, which is made to begin there.
    std::size_t split(std::size_t at);
    /// The runs of the original's bytes, those that continue each other joined.
    [[nodiscard]] std::vector<FileRange> surviving() const;

    const Bytes& original_;
    std::vector<Run> runs_;
};

/// A photograph to damage.
struct RawPhotograph {
    const Bytes& bytes;
    const RawLayout& layout;
    const Bytes& other; ///< Another one of the same camera, if there is one.
    unsigned seed = 0;  ///< Chooses places and noise; 0 damages the middle of the image.
};

/// One kind of damage.
struct RawDamage {
    std::string name;
    std::function<void(DamagedRaw& damaged, const RawPhotograph& photograph)> apply;
    bool needs_other = false; ///< Takes bytes of another photograph, so the two must differ.
    std::size_t cluster = 0;  ///< The image must have more than twice as many bytes.
};

/// All kinds. Parts of a damage that would be past the end of the file are left out.
[[nodiscard]] const std::vector<RawDamage>& raw_damages();

} // namespace test
