#include "jpeg/CoefficientStore.h"

#include "Work.h"

namespace still_mend {

CoefficientStore::CoefficientStore(const Frame& frame)
    : mcus_wide_(frame.mcus_wide()), mcus_high_(frame.mcus_high()) {
    for (const auto& component : frame.components) {
        const std::size_t wide = mcus_wide_ * component.h_samp;
        planes_.push_back({wide, component.h_samp, component.v_samp,
                           std::vector<Block>(wide * mcus_high_ * component.v_samp)});
        Work::add(planes_.back().blocks.size());
    }
}

void CoefficientStore::put_mcu(std::size_t position, const Mcu& mcu) {
    std::size_t index = 0;
    for (std::size_t component = 0; component < planes_.size(); ++component) {
        const Plane& plane = planes_[component];
        for (std::size_t row = 0; row < plane.v_samp; ++row) {
            for (std::size_t column = 0; column < plane.h_samp; ++column) {
                block(component, position / mcus_wide_ * plane.v_samp + row,
                      position % mcus_wide_ * plane.h_samp + column) = mcu[index++];
            }
        }
    }
}

Mcu CoefficientStore::mcu(std::size_t position) const {
    Mcu mcu{};
    std::size_t index = 0;
    for (std::size_t component = 0; component < planes_.size(); ++component) {
        const Plane& plane = planes_[component];
        for (std::size_t row = 0; row < plane.v_samp; ++row) {
            for (std::size_t column = 0; column < plane.h_samp; ++column) {
                mcu[index++] = block(component, position / mcus_wide_ * plane.v_samp + row,
                                     position % mcus_wide_ * plane.h_samp + column);
            }
        }
    }
    return mcu;
}

void CoefficientStore::bridge_gaps(const std::vector<bool>& present) {
    for (std::size_t column = 0; column < mcus_wide_; ++column) {
        bool any = false;
        std::size_t above = 0;
        for (std::size_t row = 0; row < mcus_high_; ++row) {
            if (!present[row * mcus_wide_ + column]) {
                continue;
            }
            if (any && row > above + 1) {
                bridge(column, above, row);
            }
            any = true;
            above = row;
        }
    }
}

void CoefficientStore::bridge(std::size_t column, std::size_t above, std::size_t below) {
    for (std::size_t component = 0; component < planes_.size(); ++component) {
        const std::size_t h = planes_[component].h_samp;
        const std::size_t v = planes_[component].v_samp;
        for (std::size_t x = column * h; x < (column + 1) * h; ++x) {
            const int from = block(component, (above + 1) * v - 1, x)[0];
            const int to = block(component, below * v, x)[0];
            const auto rows = static_cast<int>((below - above - 1) * v);
            for (int row = 0; row < rows; ++row) {
                block(component, (above + 1) * v + static_cast<std::size_t>(row), x)[0] =
                    static_cast<std::int16_t>(from + (to - from) * (row + 1) / (rows + 1));
            }
        }
    }
}

} // namespace still_mend
