#include "report/Words.h"

#include "record/Codes.h"
#include "text/Format.h"

#include <numeric>

namespace plate_mend::host {

void Counts::add(Verdict verdict) {
    ++counts_.at(static_cast<std::size_t>(verdict));
}

std::uint64_t Counts::of(Verdict verdict) const {
    return counts_.at(static_cast<std::size_t>(verdict));
}

std::uint64_t Counts::total() const {
    return std::accumulate(counts_.begin(), counts_.end(), std::uint64_t{0});
}

std::string describe(const Counts& counts) {
    std::string text;
    for (const Verdict verdict : kVerdicts) {
        if (counts.of(verdict) != 0) {
            text += (text.empty() ? "" : ", ") + std::to_string(counts.of(verdict)) + ' ' + describe(verdict);
        }
    }
    return text.empty() ? "no files" : text;
}

const char* describe(Verdict verdict) {
    switch (verdict) {
    case Verdict::kWhole:
        return "whole";
    case Verdict::kIntact:
        return "intact already";
    case Verdict::kPartial:
        return "partly there";
    case Verdict::kPreviewOnly:
        return "preview only";
    case Verdict::kNotDone:
        return "not done";
    case Verdict::kNotRepaired:
        break;
    }
    return "lost";
}

std::string describe_refusal(const Attempt& attempt) {
    if (!attempt.problem.empty()) {
        return attempt.problem;
    }
    if (!attempt.code) {
        return "was not tried";
    }
    if (*attempt.code != 0) {
        return explain_repair(*attempt.code);
    }
    if (!attempt.judgement.decodes) {
        return "LibRaw does not decode the result";
    }
    return attempt.judgement.findings.empty() ? "another sample was taken" : join(attempt.judgement.findings);
}

std::vector<std::string> salvage_warnings(std::uint32_t warnings) {
    std::vector<std::string> lines;
    for (const CodeEntry& entry : all_codes()) {
        if (entry.source == CodeSource::kWarning &&
            (warnings & static_cast<std::uint32_t>(entry.code)) != 0) {
            lines.emplace_back(entry.meaning);
        }
    }
    return lines;
}

std::string describe_unreadable(const std::vector<UnreadableSpan>& unreadable) {
    std::uint64_t bytes = 0;
    for (const UnreadableSpan& span : unreadable) {
        bytes += span.size;
    }
    const std::size_t places = unreadable.size();
    return places == 0 ? ""
                       : format_size(bytes) + " of it cannot be read (" + format_count(places, "place") + ')';
}

} // namespace plate_mend::host
