#include "jpeg/McuDecoder.h"

#include "Work.h"

#include <algorithm>

namespace still_mend {

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
        ComponentCoding coding{HuffmanTable(*tables.dc[component.dc]),
                               HuffmanTable(*tables.ac[component.ac]),
                               coefficient_limit(quant[0]),
                               {}};
        std::transform(quant.begin(), quant.end(), coding.ac_limits.begin(), coefficient_limit);
        const std::size_t blocks =
            scan.components.size() == 1 ? 1 : std::size_t{of_frame.h_samp} * of_frame.v_samp;
        for (std::size_t block = 0; block < blocks; ++block) {
            component_of_[blocks_++] = static_cast<std::uint8_t>(codings_.size());
        }
        codings_.push_back(coding);
    }
}

bool McuDecoder::decode_dc(const ComponentCoding& coding, BitReader& reader, DcState& dc,
                           std::size_t component, Block& block) {
    const int category = coding.dc.decode(reader);
    if (category < 0 || category > kMostDcCategory) {
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

bool McuDecoder::decode(BitReader& reader, DcState& dc, Mcu& mcu) const {
    const std::size_t begin = reader.stop();
    const bool good = decode_blocks(reader, dc, mcu);
    Work::add(blocks_ + reader.stop() - begin);
    return good;
}

bool McuDecoder::decode_blocks(BitReader& reader, DcState& dc, Mcu& mcu) const {
    for (std::size_t index = 0; index < blocks_; ++index) {
        mcu[index].fill(0);
    }
    for (std::size_t index = 0; index < blocks_; ++index) {
        const std::size_t component = component_of_[index];
        const ComponentCoding& coding = codings_[component];
        if (!decode_dc(coding, reader, dc, component, mcu[index]) ||
            !decode_sequential_ac(reader, coding.ac, &coding.ac_limits, mcu[index])) {
            fill_after(index, dc, mcu);
            return false;
        }
    }
    return !reader.overrun();
}

void McuDecoder::fill_after(std::size_t last, const DcState& dc, Mcu& mcu) const {
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
