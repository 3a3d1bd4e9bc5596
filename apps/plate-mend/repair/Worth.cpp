#include "repair/Worth.h"

namespace plate_mend::host {

namespace {

/// With a smaller share of the picture, a result is not a photograph, even if it decodes.
constexpr double kLeastShare = 0.01;

/// What the raw engine counts as the photograph's own; all where it counts nothing.
double own_share(const Attempt& attempt) {
    if (!attempt.image || attempt.image->pixels == 0) {
        return 1;
    }
    const FoundImage& image = *attempt.image;
    return 1 -
           static_cast<double>(image.pixels_lost + image.pixels_doubtful) / static_cast<double>(image.pixels);
}

bool is_mended(const Attempt& attempt) {
    return attempt.image && attempt.image->pieces_mended != 0;
}

bool has_proved_pieces(const Attempt& attempt) {
    return attempt.image && attempt.image->pieces_proved != 0;
}

double doubtful_share(const Attempt& attempt) {
    return !attempt.image || attempt.image->pixels == 0
               ? 0
               : static_cast<double>(attempt.image->pixels_doubtful) /
                     static_cast<double>(attempt.image->pixels);
}

/// If the share is unknown, it counts as half of what can be, and doubtful pixels as half of that.
double share(const Attempt& attempt) {
    return attempt.judgement.share().value_or(0.5 * own_share(attempt) + 0.25 * doubtful_share(attempt));
}

/// Higher is better.
double worth(const Attempt& attempt) {
    const Judgement& judgement = attempt.judgement;
    switch (verdict_of(judgement)) {
    case Verdict::kWhole:
        return 2;
    case Verdict::kPartial:
        return share(attempt) - 0.001 * static_cast<double>(judgement.findings.size());
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
    if (kept == nullptr) {
        return worth(attempt) > 0;
    }
    const bool both_partial = verdict_of(attempt.judgement) == Verdict::kPartial &&
                              verdict_of(kept->judgement) == Verdict::kPartial;
    if (attempt.engine == kept->engine || !both_partial) {
        return worth(attempt) > worth(*kept);
    }
    const bool both_unknown = !attempt.judgement.share() && !kept->judgement.share();
    if (both_unknown && has_proved_pieces(attempt) != has_proved_pieces(*kept)) {
        return has_proved_pieces(attempt);
    }
    if (both_unknown && (is_mended(attempt) || is_mended(*kept))) {
        const Attempt& mended = is_mended(attempt) ? attempt : *kept;
        return (own_share(mended) > 0.5) == (&mended == &attempt);
    }
    // Engines leave different signs of damage, so their number says nothing.
    return share(attempt) > share(*kept) ||
           (share(attempt) == share(*kept) && attempt.engine == kExactEngine);
}

} // namespace plate_mend::host
