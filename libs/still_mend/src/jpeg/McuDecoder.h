#pragma once

#include "jpeg/Bits.h"
#include "jpeg/Block.h"
#include "jpeg/MarkerSegments.h"
#include "jpeg/SequentialAc.h"

#include <array>
#include <cstdint>
#include <vector>

namespace still_mend {

/// What is carried from MCU to MCU of a scan: the DC prediction of each component, and the range that it has
/// covered.
struct DcState {
    std::array<std::int32_t, 4> value{};
    std::array<std::int32_t, 4> low{};
    std::array<std::int32_t, 4> high{};
    bool known = true; ///< False after a gap without a restart: values are then off by an unknown constant.
};

/// Decodes the MCUs of a sequential scan, and refuses what no picture of 8 bits can contain: bits that are
/// not a code, coefficients beyond the 64th, dequantised coefficients outside the range of the transform.
class McuDecoder {
  public:
    /// Whether all tables that the scan needs are there.
    [[nodiscard]] static bool has_tables(const Frame& frame, const Scan& scan, const Tables& tables);

    /// The tables must be there, and the scan must not be progressive.
    McuDecoder(const Frame& frame, const Scan& scan, const Tables& tables);

    /// Decodes the next MCU. False if it is not one, or if its bits ended early; some of its blocks may then
    /// be good, and the others have the brightness of those before.
    [[nodiscard]] bool decode(BitReader& reader, DcState& dc, Mcu& mcu) const;

    /// Adds to the DC values of an MCU, by component of the scan.
    void shift_dc(Mcu& mcu, const std::array<std::int32_t, 4>& level) const;

  private:
    struct ComponentCoding {
        HuffmanTable dc;
        HuffmanTable ac;
        std::int32_t dc_limit = 0; ///< For a quantised DC value, in both directions.
        CoefficientLimits ac_limits{};
    };

    bool decode_blocks(BitReader& reader, DcState& dc, Mcu& mcu) const;
    /// Fills the blocks after one that did not decode with what was predicted for them.
    void fill_after(std::size_t last, const DcState& dc, Mcu& mcu) const;

    static bool decode_dc(const ComponentCoding& coding, BitReader& reader, DcState& dc,
                          std::size_t component, Block& block);

    std::vector<ComponentCoding> codings_;                      // By component of the scan.
    std::array<std::uint8_t, kMaxBlocksPerMcu> component_of_{}; // By block of the MCU.
    std::size_t blocks_ = 0;
};

} // namespace still_mend
