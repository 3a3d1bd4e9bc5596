#include "repair/Worth.h"

namespace plate_mend::host {

namespace {

/// With a smaller share of good rows, a result is not a photograph, even if it decodes.
constexpr double kFewestRows = 0.01;

/// Higher is better. If the share of good rows is unknown, it counts as a half.
double worth(const Judgement& judgement) {
    switch (verdict_of(judgement)) {
    case Verdict::kWhole:
        return 2;
    case Verdict::kPartial:
        return judgement.rows_good.value_or(0.5) - 0.001 * static_cast<double>(judgement.findings.size());
    default:
        return -1;
    }
}

} // namespace

Verdict verdict_of(const Judgement& judgement) {
    if (!judgement.decodes || judgement.rows_good.value_or(1) < kFewestRows) {
        return Verdict::kNotRepaired;
    }
    return judgement.findings.empty() ? Verdict::kWhole : Verdict::kPartial;
}

bool is_better(const Attempt& attempt, const Attempt* kept) {
    const double ours = worth(attempt.judgement);
    const double theirs = kept == nullptr ? 0 : worth(kept->judgement);
    const bool wins_tie = kept != nullptr && attempt.engine == kExactEngine && kept->engine == kRawEngine;
    return ours > theirs || (wins_tie && ours == theirs);
}

} // namespace plate_mend::host
