#include "assessment/LibjpegAssessment.h"

#include "assessment/IntactJpeg.h"
#include "assessment/LenientJpeg.h"
#include "assessment/Noise.h"
#include "jpeg/Markers.h"
#include "jpeg/SequentialAc.h"

#include <algorithm>
#include <cstdlib>

namespace still_mend {

namespace {

/// Whether no picture of 8 bits can contain a block, or it is what zeroed bytes decode to.
bool is_impossible(const Block& block, const QuantTable& quant) {
    unsigned minus_ones = 0;
    for (std::size_t k = 0; k < 64; ++k) {
        const int value = block[kNaturalOrder[k]];
        if (quant.values[k] != 0 && std::abs(value) > coefficient_limit(quant.values[k])) {
            return true;
        }
        minus_ones += k > 0 && value == -1 ? 1U : 0U;
    }
    return minus_ones == kAllMinusOne;
}

/// Whether what libjpeg read without a warning is not a picture: more than a few of its blocks are
/// impossible. The first scan of a progressive picture holds too little for that; its blocks must be neither
/// rough nor all alike, and up to half of all may be impossible: damage moves the level of all that follows.
bool is_no_picture(const PictureCandidate& candidate, const LenientJpeg& picture) {
    const std::size_t few = candidate.frame->progressive() ? 2 : 64; // One in this many.
    if (candidate.frame->progressive()) {
        std::vector<bool> smooth(candidate.frame->mcus(), false);
        std::fill_n(smooth.begin(), picture.smooth, true);
        if (is_noise(roughness_of(candidate, picture.store, smooth))) {
            return true;
        }
    }
    const Mcu first = picture.store.mcu(0);
    bool flat = candidate.frame->progressive();
    std::size_t blocks = 0;
    std::size_t impossible = 0;
    for (std::size_t position = 0; position < picture.smooth; ++position) {
        const Mcu mcu = picture.store.mcu(position);
        flat = flat && mcu == first;
        std::size_t block = 0;
        for (const auto& component : candidate.frame->components) {
            for (unsigned count = 0; count < component.h_samp * component.v_samp; ++count, ++blocks) {
                impossible += is_impossible(mcu[block++], *candidate.tables.quant[component.quant]) ? 1U : 0U;
            }
        }
    }
    return flat || impossible * few > blocks;
}

} // namespace

std::optional<Assessment> assess_intact(Bytes file, const PictureCandidate& candidate) {
    auto picture = read_intact(file.subspan(candidate.offset));
    if (!picture) {
        return std::nullopt;
    }
    Assessment result;
    result.hypothesis.candidate = candidate;
    result.hypothesis.candidate.has_soi = true;
    result.hypothesis.candidate.damaged_header = false;
    result.total = picture->frame.mcus();
    result.hypothesis.candidate.frame = std::move(picture->frame);
    result.own = result.total;
    result.intact = true;
    result.whole = true;
    result.eoi_found = true;
    result.end = candidate.offset + picture->size;
    result.first_bad = result.end;
    return result;
}

std::optional<Assessment> assess_leniently(Bytes file, const PictureCandidate& candidate) {
    auto picture = read_leniently(file.subspan(candidate.offset));
    if (!picture) {
        return std::nullopt;
    }
    Assessment result;
    PictureCandidate& filled = result.hypothesis.candidate;
    filled = candidate;
    filled.tables = picture->tables;
    filled.frame = std::move(picture->frame);
    result.by_libjpeg = true;
    result.multi_scan = true;
    result.total = filled.frame->mcus();
    result.guessed = picture->smooth;
    result.eoi_found = picture->eoi_found;
    result.end = candidate.offset + picture->end;
    result.first_bad = candidate.offset + picture->first_bad;
    result.noise = !marker::is_arithmetic(filled.frame->code) && is_no_picture(filled, *picture);
    return result;
}

} // namespace still_mend
