#include "assessment/Assessment.h"

#include "assessment/Noise.h"
#include "assessment/SequentialAssessment.h"
#include "progressive/MultiScan.h"

#include <utility>

namespace still_mend {

namespace {

bool has_one_scan(const PictureCandidate& candidate) {
    return !candidate.frame->progressive() &&
           candidate.scan->components.size() == candidate.frame->components.size();
}

Assessment assess_scans(Bytes file, const Hypothesis& hypothesis) {
    const PictureCandidate& candidate = hypothesis.candidate;
    CoefficientStore store(*candidate.frame);
    const auto scans = decode_scans(file, candidate, store);
    Assessment result;
    result.hypothesis = hypothesis;
    result.multi_scan = true;
    result.total = candidate.frame->mcus();
    for (std::size_t position = 0; position < result.total; ++position) {
        if (scans.present[position] && scans.guessed[position]) {
            ++result.guessed;
        } else if (scans.present[position]) {
            ++result.own;
            result.coarse += scans.coarse[position] ? 1U : 0U;
        }
    }
    result.whole = scans.whole;
    result.eoi_found = scans.eoi_found;
    result.end = scans.end;
    result.first_bad = candidate.damaged_header ? candidate.offset : scans.first_bad;
    result.noise = !scans.whole && is_noise(roughness_of(candidate, store, scans.present));
    return result;
}

} // namespace

std::uint64_t Assessment::score() const {
    return static_cast<std::uint64_t>(own + guessed / 2) * hypothesis.candidate.frame->mcu_area();
}

bool Assessment::deliverable() const {
    constexpr std::size_t kLeastShare = 50; // One MCU in fifty.
    // Tables of another picture make something that is placed by chance of any data.
    const bool own_tables = !hypothesis.tables_borrowed && !hypothesis.tables_standard;
    const std::size_t shown = own + (own_tables || multi_scan || hypothesis.is_estimated() ? guessed : 0);
    return shown > 0 && shown >= total / kLeastShare && !noise;
}

Assessment assess(Bytes file, const Hypothesis& hypothesis) {
    Assessment result = has_one_scan(hypothesis.candidate) ? assess_sequential(file, hypothesis)
                                                           : assess_scans(file, hypothesis);
    if (hypothesis.quant_guessed) {
        result.guessed += std::exchange(result.own, 0);
        result.coarse = 0;
    }
    return result;
}

} // namespace still_mend
