#include "jpeg/BlockDecoder.h"

#include <algorithm>

namespace still_mend {

namespace {

constexpr std::int32_t kMostPrediction = 32767; // As libjpeg keeps it, in 16 bits.
constexpr unsigned kNoCode = 17;                // The bits that are not a code, and one more.
constexpr unsigned kAllZeros = 64;              // More than a band has.

bool needs_ac(const Frame& frame, const Scan& scan) {
    return !frame.progressive() || scan.ss > 0;
}

} // namespace

bool BlockDecoder::has_tables(const Frame& frame, const Scan& scan, const Tables& tables) {
    return std::all_of(scan.components.begin(), scan.components.end(), [&](const ScanComponent& each) {
        return tables.quant[frame.components[each.index].quant] &&
               (!scan.begins_dc() || tables.dc[each.dc]) && (!needs_ac(frame, scan) || tables.ac[each.ac]);
    });
}

BlockDecoder::BlockDecoder(const Frame& frame, const Scan& scan, const Tables& tables) : scan_(scan) {
    for (const auto& component : scan.components) {
        const auto& quant = tables.quant[frame.components[component.index].quant]->values;
        Channel channel;
        if (scan.begins_dc()) {
            channel.dc = HuffmanTable(*tables.dc[component.dc]);
        }
        if (needs_ac(frame, scan)) {
            channel.ac = HuffmanTable(*tables.ac[component.ac]);
        }
        channel.dc_limit = coefficient_limit(quant[0]) + 1;
        channels_.push_back(channel);
    }
    sequential_ = !frame.progressive();
}

void BlockDecoder::restart() {
    end_of_band_ = 0;
    unread_ = 0;
    for (auto& channel : channels_) {
        channel.prediction = 0;
    }
}

bool BlockDecoder::decode(BitReader& reader, std::size_t channel, Block& block) {
    bool good = false;
    if (sequential_) {
        good = decode_dc(reader, channels_[channel], block) &&
               decode_sequential_ac(reader, channels_[channel].ac, nullptr, block);
    } else if (scan_.ss == 0) {
        good = scan_.ah == 0 ? decode_dc(reader, channels_[channel], block) : refine_dc(reader, block);
    } else {
        good = scan_.ah == 0 ? decode_ac(reader, channels_[channel].ac, block)
                             : refine_ac(reader, channels_[channel].ac, block);
    }
    return good && !reader.overrun();
}

void BlockDecoder::step_over(BitReader& reader) {
    for (; unread_ > 16; unread_ -= 16) {
        static_cast<void>(reader.get(16));
    }
    if (unread_ > 0) {
        static_cast<void>(reader.get(unread_));
    }
    unread_ = 0;
}

bool BlockDecoder::decode_dc(BitReader& reader, Channel& channel, Block& block) {
    const int category = channel.dc.decode(reader);
    if (category < 0 || category > kMostDcCategory) {
        return fails(category < 0 ? kNoCode : static_cast<unsigned>(category));
    }
    channel.prediction += receive_extend(reader, static_cast<unsigned>(category));
    const std::int32_t limit = (channel.dc_limit >> scan_.al) + 1;
    if (channel.prediction > limit || channel.prediction < -limit) {
        // The caller may read on for long: a prediction must not grow without bound.
        channel.prediction = std::clamp(channel.prediction, -kMostPrediction, kMostPrediction);
        return false;
    }
    block[0] = static_cast<std::int16_t>(channel.prediction * (1 << scan_.al));
    return true;
}

bool BlockDecoder::refine_dc(BitReader& reader, Block& block) const {
    if (reader.get(1) != 0) {
        block[0] = static_cast<std::int16_t>(block[0] | (1 << scan_.al));
    }
    return true;
}

bool BlockDecoder::decode_ac(BitReader& reader, const HuffmanTable& table, Block& block) {
    if (end_of_band_ > 0) {
        --end_of_band_;
        return true;
    }
    for (unsigned k = scan_.ss; k <= scan_.se; ++k) {
        const int symbol = table.decode(reader);
        if (symbol < 0) {
            return fails(kNoCode);
        }
        const unsigned zeros = static_cast<unsigned>(symbol) >> 4U;
        const unsigned size = static_cast<unsigned>(symbol) & 15U;
        if (size == 0 && zeros != 15) {
            begin_end_of_band(reader, zeros);
            --end_of_band_;
            return true;
        }
        k += zeros;
        if (size == 0) {
            continue;
        }
        if (k > scan_.se || size > kMostAcCategory) {
            return fails(size);
        }
        block[kNaturalOrder[k]] = static_cast<std::int16_t>(receive_extend(reader, size) * (1 << scan_.al));
    }
    return true;
}

void BlockDecoder::begin_end_of_band(BitReader& reader, unsigned category) {
    end_of_band_ = 1U << category;
    if (category > 0) {
        end_of_band_ += reader.get(category);
    }
}

/// Adds a bit to a coefficient that is not zero.
void BlockDecoder::refine(BitReader& reader, std::int16_t& coefficient) const {
    if (reader.get(1) != 0 && (coefficient & (1 << scan_.al)) == 0) {
        coefficient =
            static_cast<std::int16_t>(coefficient + (coefficient > 0 ? 1 << scan_.al : -(1 << scan_.al)));
    }
}

/// Skips this many zeros from the k-th coefficient on; each nonzero coefficient on the way gets its bit.
/// Returns the position of the next zero, or one after the band.
unsigned BlockDecoder::refine_over_zeros(BitReader& reader, unsigned k, unsigned zeros, Block& block) const {
    for (; k <= scan_.se; ++k) {
        std::int16_t& coefficient = block[kNaturalOrder[k]];
        if (coefficient != 0) {
            refine(reader, coefficient);
        } else if (zeros == 0) {
            break;
        } else {
            --zeros;
        }
    }
    return k;
}

bool BlockDecoder::refine_ac(BitReader& reader, const HuffmanTable& table, Block& block) {
    unsigned k = scan_.ss;
    bool good = true;
    while (end_of_band_ == 0 && k <= scan_.se) {
        int symbol = table.decode(reader);
        if (symbol < 0) {
            fails(kNoCode);
            step_over(reader);
            symbol = 0;
            good = false;
        }
        if (reader.overrun()) {
            return false;
        }
        const unsigned zeros = static_cast<unsigned>(symbol) >> 4U;
        const unsigned size = static_cast<unsigned>(symbol) & 15U;
        if (size == 0 && zeros != 15) {
            begin_end_of_band(reader, zeros);
            break;
        }
        const int value = size == 0 ? 0 : (reader.get(1) != 0 ? 1 : -1) * (1 << scan_.al);
        k = refine_over_zeros(reader, k, zeros, block);
        if (value != 0) {
            good = good && size == 1 && k <= scan_.se;
            if (k <= scan_.se) {
                block[kNaturalOrder[k]] = static_cast<std::int16_t>(value);
            }
        }
        ++k;
    }
    if (end_of_band_ > 0) {
        refine_over_zeros(reader, k, kAllZeros, block);
        --end_of_band_;
    }
    return good;
}

} // namespace still_mend
