#pragma once

#include "jpeg/BitReader.h"
#include "jpeg/MarkerSegments.h"

#include <array>
#include <cstdint>
#include <vector>

namespace still_mend {

inline constexpr std::size_t kMaxBlocksPerMcu = 10;

/// The 64 coefficients of a block, quantised, in natural order.
using Block = std::array<std::int16_t, 64>;
using Mcu = std::array<Block, kMaxBlocksPerMcu>;

/// Place in natural order of the k-th coefficient in zigzag order.
extern const std::array<std::uint8_t, 64> kNaturalOrder;

/// What a scan hands from MCU to MCU: the DC prediction of each component, and the range that it has covered.
struct DcState {
    std::array<std::int32_t, 4> value{};
    std::array<std::int32_t, 4> low{};
    std::array<std::int32_t, 4> high{};
    bool known = true; ///< False behind a gap without a restart: values are then off by an unknown constant.
};

/// Decodes the MCUs of a sequential scan, and refuses what no picture of 8 bits can contain: bits that are no
/// code, coefficients beyond the 64th, dequantised coefficients outside the range of the transform.
class McuDecoder {
  public:
    /// Whether all tables that the scan needs are there.
    [[nodiscard]] static bool has_tables(const Frame& frame, const Scan& scan, const Tables& tables);

    /// The tables must be there, and the scan must not be progressive.
    McuDecoder(const Frame& frame, const Scan& scan, const Tables& tables);

    /// Decodes the next MCU. False when it is not one, or when its bits ended early; some of its blocks may
    /// then be good, and those behind have the brightness of what was before.
    [[nodiscard]] bool decode(BitReader& reader, DcState& dc, Mcu& mcu) const;

    /// Adds to the DC values of an MCU, by component of the scan.
    void shift_dc(Mcu& mcu, const std::array<std::int32_t, 4>& level) const;

  private:
    struct Coding {
        HuffmanTable dc;
        HuffmanTable ac;
        std::int32_t dc_limit = 0;               ///< Of a quantised DC value, both ways.
        std::array<std::int32_t, 64> ac_limit{}; ///< By zigzag position.
    };

    /// Gives the blocks behind one that did not decode what was predicted for them.
    void fill_behind(std::size_t last, const DcState& dc, Mcu& mcu) const;

    static bool decode_dc(const Coding& coding, BitReader& reader, DcState& dc, std::size_t component,
                          Block& block);
    static bool decode_ac(const Coding& coding, BitReader& reader, Block& block);

    std::vector<Coding> codings_; // By component of the scan.
    std::array<std::uint8_t, kMaxBlocksPerMcu> component_of_{};
    std::size_t blocks_ = 0;
};

} // namespace still_mend
