#include "Record.h"

#include <algorithm>

namespace plate_mend::host {

const char* name_of(Verdict verdict) {
    switch (verdict) {
    case Verdict::kWhole:
        return "whole";
    case Verdict::kPartial:
        return "partial";
    case Verdict::kPreviewOnly:
        return "preview only";
    case Verdict::kNotRepaired:
        break;
    }
    return "not repaired";
}

std::optional<Verdict> verdict_named(const std::string& name) {
    const auto found = std::find_if(kVerdicts.begin(), kVerdicts.end(),
                                    [&name](Verdict verdict) { return name == name_of(verdict); });
    return found == kVerdicts.end() ? std::nullopt : std::optional(*found);
}

const Attempt* Record::taken() const {
    for (const Attempt& attempt : attempts) {
        if (attempt.taken) {
            return &attempt;
        }
    }
    return nullptr;
}

} // namespace plate_mend::host
