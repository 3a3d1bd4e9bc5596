#pragma once

#include "fit/BlockBorders.h"
#include "jpeg/MarkerSegments.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace still_mend {

/// What is kept of each decoded MCU to judge how well it fits its neighbours: brightness along the four
/// borders of its first component, and the means of the upper and lower border of each. About half a byte
/// per pixel.
class McuTraces {
  public:
    McuTraces(const Frame& frame, const Scan& scan, const Tables& tables);

    /// Appends an MCU to those before.
    void append(const Mcu& mcu);
    [[nodiscard]] std::size_t size() const { return count_; }
    /// Forgets all but the first count MCUs.
    void truncate(std::size_t count) {
        data_.resize(count * stride_);
        count_ = count;
    }

    /// Mean step in brightness, in sixteenths of a level, from one MCU to its right or lower neighbour.
    /// The offset is added to the second.
    [[nodiscard]] double step_right(std::size_t left, std::size_t right, int offset = 0) const;
    [[nodiscard]] double step_down(std::size_t above, std::size_t below, int offset = 0) const;

    /// The signed mean of the same steps down: what to add to the MCU below to bring it to the level of the
    /// one above.
    [[nodiscard]] int level_down(std::size_t above, std::size_t below) const;
    [[nodiscard]] int level_right(std::size_t left, std::size_t right) const;

    /// Whether an MCU has the same trace as one of other traces of the same picture.
    [[nodiscard]] bool is_same(std::size_t mcu, const McuTraces& other, std::size_t other_mcu) const;

    /// The darkest and the brightest of the samples along the borders, in sixteenths of a level.
    struct Brightness {
        int least = 0;
        int most = 0;
    };
    [[nodiscard]] Brightness brightness_of(std::size_t mcu) const;

    /// The mean of the upper and lower border of a component, in sixteenths of a level.
    [[nodiscard]] int border_mean(std::size_t mcu, std::size_t component) const;

    [[nodiscard]] std::size_t components() const { return components_; }

    /// The same for any component: what would level its first column of blocks.
    [[nodiscard]] int level_down(std::size_t above, std::size_t below, std::size_t component) const;

    /// Sixteenths of a level that one quantised DC step of a component makes.
    [[nodiscard]] int step_of_dc(std::size_t component = 0) const {
        return static_cast<int>(planes_[component].quant[0]) * 2;
    }

  private:
    using Samples = std::span<const std::int16_t>;

    // A record:  top | bottom | left | right | (mean of top, mean of bottom) of each component. Four samples
    // per block border in the first four.
    [[nodiscard]] Samples part(std::size_t mcu, std::size_t first, std::size_t count) const {
        return Samples(data_).subspan(mcu * stride_ + first, count);
    }
    [[nodiscard]] Samples top(std::size_t mcu) const { return part(mcu, 0, across_); }
    [[nodiscard]] Samples bottom(std::size_t mcu) const { return part(mcu, across_, across_); }
    [[nodiscard]] Samples left(std::size_t mcu) const { return part(mcu, 2 * across_, down_); }
    [[nodiscard]] Samples right(std::size_t mcu) const { return part(mcu, 2 * across_ + down_, down_); }

    struct Plane {
        std::array<std::uint16_t, 64> quant{}; // Natural order.
        std::size_t top_block = 0;             // Within an MCU: the first block, and the lowest below it.
        std::size_t bottom_block = 0;
    };

    std::vector<Plane> planes_; // By component of the scan.
    std::size_t blocks_wide_;
    std::size_t blocks_high_;
    std::size_t components_;
    std::size_t across_;
    std::size_t down_;
    std::size_t stride_;
    std::size_t count_ = 0;
    std::vector<std::int16_t> data_;
};

} // namespace still_mend
