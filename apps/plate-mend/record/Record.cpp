#include "record/Record.h"

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

const Attempt* Record::taken() const {
    for (const Attempt& attempt : attempts) {
        if (attempt.taken) {
            return &attempt;
        }
    }
    return nullptr;
}

} // namespace plate_mend::host
