#include "report/Words.h"

#include "report/Codes.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <numeric>

namespace plate_mend::host {

namespace {

/// With one digit behind the point, whatever the locale.
std::string one_digit(double value) {
    std::array<char, 64> buffer{};
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, 1);
    return {buffer.data(), end.ptr};
}

} // namespace

void Counts::add(Verdict verdict) {
    ++counts_.at(static_cast<std::size_t>(verdict));
}

std::uint64_t Counts::of(Verdict verdict) const {
    return counts_.at(static_cast<std::size_t>(verdict));
}

std::uint64_t Counts::total() const {
    return std::accumulate(counts_.begin(), counts_.end(), std::uint64_t{0});
}

std::string in_words(const Counts& counts) {
    std::string text;
    for (const Verdict verdict : kVerdicts) {
        if (counts.of(verdict) != 0) {
            text += (text.empty() ? "" : ", ") + std::to_string(counts.of(verdict)) + ' ' + in_words(verdict);
        }
    }
    return text.empty() ? "no files" : text;
}

const char* in_words(Verdict verdict) {
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

std::string reason_refused(const Attempt& attempt) {
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
    return attempt.judgement.findings.empty() ? "another sample was taken"
                                              : joined(attempt.judgement.findings);
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

std::string unreadable_in_words(const std::vector<UnreadableSpan>& unreadable) {
    std::uint64_t bytes = 0;
    for (const UnreadableSpan& span : unreadable) {
        bytes += span.size;
    }
    const std::size_t places = unreadable.size();
    return places == 0 ? ""
                       : size_in_words(bytes) + " of it cannot be read (" + counted(places, "place") + ')';
}

std::string counted(std::uint64_t count, const std::string& noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string size_in_words(std::uint64_t bytes) {
    if (bytes < 1000) {
        return counted(bytes, "byte");
    }
    constexpr std::array kUnits = {" kB", " MB", " GB", " TB", " PB", " EB"};
    double value = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    while (value >= 999.95 && unit + 1 < kUnits.size()) {
        value /= 1000;
        ++unit;
    }
    return one_digit(value) + kUnits.at(unit);
}

std::string share_in_words(double share) {
    if (!(share > 0)) {
        return "0 %";
    }
    if (share >= 1) {
        return "100 %";
    }
    return one_digit(std::clamp(std::round(share * 1000), 1.0, 999.0) / 10) + " %";
}

std::string joined(const std::vector<std::string>& parts) {
    std::string result;
    for (const std::string& part : parts) {
        result += (result.empty() ? "" : "; ") + part;
    }
    return result;
}

} // namespace plate_mend::host
