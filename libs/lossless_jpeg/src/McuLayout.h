#pragma once

#include <lossless_jpeg/Head.h>

namespace lossless_jpeg {

/// How the samples of a frame are arranged in MCUs. One component, or equal sampling factors, make an MCU of
/// one sample per component.
class McuLayout {
  public:
    explicit McuLayout(const Head& head);

    /// The component that each sample of an MCU belongs to; 1 to 900 samples.
    [[nodiscard]] const std::vector<std::size_t>& components() const { return components_; }
    /// The number of MCUs, at most 65535 squared.
    [[nodiscard]] std::uint64_t mcus() const { return mcus_; }
    /// Whether each MCU is one pixel.
    [[nodiscard]] bool is_plain() const { return plain_; }

  private:
    std::vector<std::size_t> components_;
    std::uint64_t mcus_ = 0;
    bool plain_ = false;
};

} // namespace lossless_jpeg
