#pragma once

#include "jpeg/Block.h"
#include "jpeg/MarkerSegments.h"

#include <vector>

namespace still_mend {

/// All coefficients of a picture, quantised, two bytes each; zero, which is mid-grey, until decoded.
class CoefficientStore {
  public:
    explicit CoefficientStore(const Frame& frame);

    /// A block by its row and column in the component; sides are whole MCUs.
    [[nodiscard]] Block& block(std::size_t component, std::size_t row, std::size_t column) {
        return planes_[component].blocks[row * planes_[component].wide + column];
    }
    [[nodiscard]] const Block& block(std::size_t component, std::size_t row, std::size_t column) const {
        return planes_[component].blocks[row * planes_[component].wide + column];
    }

    /// The blocks of an MCU of an interleaved scan, component by component.
    void put_mcu(std::size_t position, const Mcu& mcu);
    [[nodiscard]] Mcu mcu(std::size_t position) const;

    /// Fills lost MCUs between two that are present, one above and one below, with their colours. What is
    /// lost at the top or bottom of the picture stays grey. present has one entry per MCU.
    void bridge_gaps(const std::vector<bool>& present);

    /// Frees a component's plane, which must then not be used any more.
    void release(std::size_t component) { planes_[component].blocks = {}; }

  private:
    struct Plane {
        std::size_t wide = 0; // In blocks.
        unsigned h_samp = 1;
        unsigned v_samp = 1;
        std::vector<Block> blocks;
    };

    void bridge(std::size_t column, std::size_t above, std::size_t below);

    std::size_t mcus_wide_;
    std::size_t mcus_high_;
    std::vector<Plane> planes_;
};

} // namespace still_mend
