#pragma once

#include "McuLayout.h"

#include <lossless_jpeg/DifferenceTable.h>
#include <lossless_jpeg/Stream.h>

namespace lossless_jpeg {

/// The tables and their order in an MCU.
class McuTables {
  public:
    using Order = std::vector<const DifferenceTable*>;

    McuTables(const Head& head, const McuLayout& layout);

    /// The table of each sample of an MCU.
    [[nodiscard]] const Order& order() const { return order_; }

  private:
    std::array<std::optional<DifferenceTable>, 4> tables_;
    Order order_;
};

/// Goes through the intervals of a scan.
class Walk {
  public:
    /// Decodes this many MCUs, the first of which is at this index; the last two arguments never cross a
    /// restart interval. Returns false if the bits are not as many differences, or if the reader has overrun.
    using Step = std::function<bool(jpeg_bits::BitReader&, std::uint64_t first, std::uint64_t count)>;

    Walk(Bytes bytes, const Head& head);
    Walk(const Walk&) = delete;
    Walk& operator=(const Walk&) = delete;
    Walk(Walk&&) = delete;
    Walk& operator=(Walk&&) = delete;
    ~Walk() = default;

    [[nodiscard]] const McuTables& tables() const { return tables_; }

    /// Takes the whole scan in steps of at most this many MCUs.
    [[nodiscard]] Progress run(std::uint64_t step, const Step& take);

  private:
    bool take_interval(std::uint64_t mcus, std::uint64_t step, const Step& take);
    void find_fault(std::uint64_t mcus);
    bool take_restart();
    void take_eoi();
    bool set_fault(Fault fault);
    [[nodiscard]] std::optional<std::uint64_t> find_marker();

    Bytes bytes_;
    const Head& head_;
    McuLayout layout_;
    McuTables tables_;
    jpeg_bits::BitReader reader_;
    std::uint64_t done_ = 0; // MCUs.
    std::uint64_t restarts_ = 0;
    Progress progress_;
};

} // namespace lossless_jpeg
