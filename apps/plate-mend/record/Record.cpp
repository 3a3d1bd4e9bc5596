#include "record/Record.h"

#include <algorithm>
#include <utility>

namespace plate_mend::host {

const char* name_of(Verdict verdict) {
    switch (verdict) {
    case Verdict::kWhole:
        return "whole";
    case Verdict::kIntact:
        return "intact";
    case Verdict::kPartial:
        return "partial";
    case Verdict::kPreviewOnly:
        return "preview only";
    case Verdict::kNotDone:
        return "not done";
    case Verdict::kNotRepaired:
        break;
    }
    return "not repaired";
}

std::optional<Verdict> verdict_from_name(const std::string& name) {
    for (const Verdict verdict : kVerdicts) {
        if (name == name_of(verdict)) {
            return verdict;
        }
    }
    return std::nullopt;
}

std::optional<double> Judgement::share() const {
    return pixels_good ? pixels_good : rows_good;
}

const Attempt* Record::taken() const {
    const auto found =
        std::find_if(attempts.begin(), attempts.end(), [](const Attempt& attempt) { return attempt.taken; });
    return found == attempts.end() ? nullptr : &*found;
}

Attempt* Record::taken() {
    return const_cast<Attempt*>(std::as_const(*this).taken());
}

} // namespace plate_mend::host
