#include "fit/McuTraces.h"

#include "Work.h"
#include "fit/BlockBorders.h"

#include <algorithm>
#include <cstdlib>

namespace still_mend {

namespace {

std::int16_t to_sample(float value) {
    return static_cast<std::int16_t>(std::clamp(value, -32767.0F, 32767.0F));
}

float mean_of(const BorderSamples& samples) {
    return (samples[0] + samples[1] + samples[2] + samples[3]) / 4;
}

double mean_step(std::span<const std::int16_t> first, std::span<const std::int16_t> second, int offset) {
    Work::add(first.size());
    int sum = 0;
    for (std::size_t index = 0; index < first.size(); ++index) {
        sum += std::abs(first[index] - second[index] - offset);
    }
    return static_cast<double>(sum) / static_cast<double>(first.size());
}

int mean_level(std::span<const std::int16_t> first, std::span<const std::int16_t> second) {
    int sum = 0;
    for (std::size_t index = 0; index < first.size(); ++index) {
        sum += first[index] - second[index];
    }
    return sum / static_cast<int>(first.size());
}

} // namespace

McuTraces::McuTraces(const Frame& frame, const Scan& scan, const Tables& tables)
    : components_(scan.components.size()) {
    std::size_t block = 0;
    for (const auto& each : scan.components) {
        const auto& component = frame.components[each.index];
        const auto& zigzag = tables.quant[component.quant]->values;
        Plane plane;
        for (std::size_t k = 0; k < 64; ++k) {
            plane.quant[kNaturalOrder[k]] = zigzag[k];
        }
        plane.top_block = block;
        plane.bottom_block =
            block + (components_ == 1 ? 0 : std::size_t{component.v_samp - 1} * component.h_samp);
        block += std::size_t{component.h_samp} * component.v_samp;
        planes_.push_back(plane);
    }
    const auto& first = frame.components[scan.components[0].index];
    blocks_wide_ = components_ == 1 ? 1 : first.h_samp;
    blocks_high_ = components_ == 1 ? 1 : first.v_samp;
    across_ = 4 * blocks_wide_;
    down_ = 4 * blocks_high_;
    stride_ = 2 * (across_ + down_) + 2 * components_;
}

void McuTraces::append(const Mcu& mcu) {
    Work::add(stride_);
    const std::size_t first = data_.size();
    data_.resize(first + stride_);
    std::int16_t* record = data_.data() + first;
    for (std::size_t row = 0; row < blocks_high_; ++row) {
        for (std::size_t column = 0; column < blocks_wide_; ++column) {
            const bool edge =
                row == 0 || row + 1 == blocks_high_ || column == 0 || column + 1 == blocks_wide_;
            if (!edge) {
                continue;
            }
            const BlockBorders borders = borders_of(mcu[row * blocks_wide_ + column], planes_[0].quant);
            for (std::size_t pair = 0; pair < 4; ++pair) {
                if (row == 0) {
                    record[4 * column + pair] = to_sample(borders.top[pair]);
                }
                if (row + 1 == blocks_high_) {
                    record[across_ + 4 * column + pair] = to_sample(borders.bottom[pair]);
                }
                if (column == 0) {
                    record[2 * across_ + 4 * row + pair] = to_sample(borders.left[pair]);
                }
                if (column + 1 == blocks_wide_) {
                    record[2 * across_ + down_ + 4 * row + pair] = to_sample(borders.right[pair]);
                }
            }
        }
    }
    std::int16_t* means = record + 2 * (across_ + down_);
    for (const auto& plane : planes_) {
        *means++ = to_sample(mean_of(borders_of(mcu[plane.top_block], plane.quant).top));
        *means++ = to_sample(mean_of(borders_of(mcu[plane.bottom_block], plane.quant).bottom));
    }
    ++count_;
}

double McuTraces::step_right(std::size_t left_mcu, std::size_t right_mcu, int offset) const {
    return mean_step(right(left_mcu), left(right_mcu), offset);
}

double McuTraces::step_down(std::size_t above, std::size_t below, int offset) const {
    return mean_step(bottom(above), top(below), offset);
}

int McuTraces::level_down(std::size_t above, std::size_t below) const {
    return mean_level(bottom(above), top(below));
}

int McuTraces::level_right(std::size_t left_mcu, std::size_t right_mcu) const {
    return mean_level(right(left_mcu), left(right_mcu));
}

int McuTraces::level_down(std::size_t above, std::size_t below, std::size_t component) const {
    const std::size_t means = 2 * (across_ + down_) + 2 * component;
    return data_[above * stride_ + means + 1] - data_[below * stride_ + means];
}

bool McuTraces::is_same(std::size_t mcu, const McuTraces& other, std::size_t other_mcu) const {
    Work::add(1);
    return std::ranges::equal(part(mcu, 0, stride_), other.part(other_mcu, 0, stride_));
}

McuTraces::Brightness McuTraces::brightness_of(std::size_t mcu) const {
    const auto [least, most] = std::ranges::minmax(part(mcu, 0, 2 * (across_ + down_)));
    return {least, most};
}

int McuTraces::border_mean(std::size_t mcu, std::size_t component) const {
    const std::size_t means = mcu * stride_ + 2 * (across_ + down_) + 2 * component;
    return (data_[means] + data_[means + 1]) / 2;
}

} // namespace still_mend
