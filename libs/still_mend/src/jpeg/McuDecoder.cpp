#include "jpeg/McuDecoder.h"

#include <algorithm>

namespace still_mend {

const std::array<std::uint8_t, 64> kNaturalOrder{
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
    41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
    30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

namespace {

// A dequantised DC coefficient of 8-bit samples lies in -1024..1016, an AC coefficient within 930. Rounding
// adds half a step; a whole step and a little is left to careless encoders.
constexpr std::int32_t kTransformLimit = 1100;

std::int32_t limit_of(unsigned quant) {
    return kTransformLimit / static_cast<std::int32_t>(quant) + 1;
}

} // namespace

bool McuDecoder::has_tables(const Frame& frame, const Scan& scan, const Tables& tables) {
    return std::all_of(scan.components.begin(), scan.components.end(), [&](const ScanComponent& component) {
        return tables.dc[component.dc] && tables.ac[component.ac] &&
               tables.quant[frame.components[component.index].quant];
    });
}

McuDecoder::McuDecoder(const Frame& frame, const Scan& scan, const Tables& tables) {
    for (const auto& component : scan.components) {
        const auto& of_frame = frame.components[component.index];
        const auto& quant = tables.quant[of_frame.quant]->values;
        Coding coding{HuffmanTable(*tables.dc[component.dc]),
                      HuffmanTable(*tables.ac[component.ac]),
                      limit_of(quant[0]),
                      {}};
        std::transform(quant.begin(), quant.end(), coding.ac_limit.begin(), limit_of);
        const std::size_t blocks =
            scan.components.size() == 1 ? 1 : std::size_t{of_frame.h_samp} * of_frame.v_samp;
        for (std::size_t block = 0; block < blocks; ++block) {
            component_of_[blocks_++] = static_cast<std::uint8_t>(codings_.size());
        }
        codings_.push_back(coding);
    }
}

bool McuDecoder::decode_dc(const Coding& coding, BitReader& reader, DcState& dc, std::size_t component,
                           Block& block) {
    const int category = coding.dc.decode(reader);
    if (category < 0 || category > 11) {
        return false;
    }
    const std::int32_t value = dc.value[component] + receive_extend(reader, static_cast<unsigned>(category));
    dc.value[component] = value;
    dc.low[component] = std::min(dc.low[component], value);
    dc.high[component] = std::max(dc.high[component], value);
    block[0] = static_cast<std::int16_t>(value); // Within 2 * 2 * (1100 + 1) by the checks below.
    if (dc.known) {
        return value >= -coding.dc_limit && value <= coding.dc_limit;
    }
    return dc.high[component] - dc.low[component] <= 2 * coding.dc_limit;
}

bool McuDecoder::decode_ac(const Coding& coding, BitReader& reader, Block& block) {
    unsigned minus_ones = 0;
    for (std::size_t k = 1; k < 64; ++k) {
        const int symbol = coding.ac.decode(reader);
        if (symbol < 0) {
            return false;
        }
        const auto run = static_cast<unsigned>(symbol) >> 4U;
        const auto size = static_cast<unsigned>(symbol) & 15U;
        if (size == 0) {
            if (run != 15) {
                return run == 0; // End of block.
            }
            k += 15;
            continue;
        }
        k += run;
        if (k > 63 || size > 10) {
            return false;
        }
        const std::int32_t value = receive_extend(reader, size);
        if (value > coding.ac_limit[k] || value < -coding.ac_limit[k]) {
            return false;
        }
        block[kNaturalOrder[k]] = static_cast<std::int16_t>(value);
        minus_ones += value == -1 ? 1U : 0U;
    }
    return minus_ones != 63; // Every coefficient -1: what zeroed bytes read as with the standard tables.
}

bool McuDecoder::decode(BitReader& reader, DcState& dc, Mcu& mcu) const {
    for (std::size_t index = 0; index < blocks_; ++index) {
        mcu[index].fill(0);
    }
    for (std::size_t index = 0; index < blocks_; ++index) {
        const std::size_t component = component_of_[index];
        if (!decode_dc(codings_[component], reader, dc, component, mcu[index]) ||
            !decode_ac(codings_[component], reader, mcu[index])) {
            fill_behind(index, dc, mcu);
            return false;
        }
    }
    return !reader.overrun();
}

void McuDecoder::fill_behind(std::size_t last, const DcState& dc, Mcu& mcu) const {
    for (std::size_t index = last + 1; index < blocks_; ++index) {
        const std::size_t component = component_of_[index];
        const std::int32_t limit = codings_[component].dc_limit;
        mcu[index][0] = static_cast<std::int16_t>(std::clamp(dc.value[component], -limit, limit));
    }
}

void McuDecoder::shift_dc(Mcu& mcu, const std::array<std::int32_t, 4>& level) const {
    for (std::size_t index = 0; index < blocks_; ++index) {
        const std::size_t component = component_of_[index];
        const std::int32_t limit = codings_[component].dc_limit;
        mcu[index][0] =
            static_cast<std::int16_t>(std::clamp(mcu[index][0] + level[component], -limit, limit));
    }
}

} // namespace still_mend
