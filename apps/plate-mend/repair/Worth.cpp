#include "repair/Worth.h"

namespace plate_mend::host {

namespace {

/// With a smaller share of the picture, a result is not a photograph, even if it decodes.
constexpr double kLeastShare = 0.01;

/// If the share is unknown, it counts as a half.
double share(const Judgement& judgement) {
    return judgement.share().value_or(0.5);
}

/// Higher is better.
double worth(const Judgement& judgement) {
    switch (verdict_of(judgement)) {
    case Verdict::kWhole:
        return 2;
    case Verdict::kPartial:
        return share(judgement) - 0.001 * static_cast<double>(judgement.findings.size());
    default:
        return -1;
    }
}

} // namespace

Verdict verdict_of(const Judgement& judgement) {
    if (!judgement.decodes || judgement.share().value_or(1) < kLeastShare) {
        return Verdict::kNotRepaired;
    }
    return judgement.findings.empty() ? Verdict::kWhole : Verdict::kPartial;
}

bool is_better(const Attempt& attempt, const Attempt* kept) {
    const Judgement& ours = attempt.judgement;
    if (kept == nullptr) {
        return worth(ours) > 0;
    }
    const Judgement& theirs = kept->judgement;
    const bool both_partial =
        verdict_of(ours) == Verdict::kPartial && verdict_of(theirs) == Verdict::kPartial;
    if (attempt.engine == kept->engine || !both_partial) {
        return worth(ours) > worth(theirs);
    }
    // Engines leave different signs of damage, so their number says nothing.
    return share(ours) > share(theirs) || (share(ours) == share(theirs) && attempt.engine == kExactEngine);
}

} // namespace plate_mend::host
