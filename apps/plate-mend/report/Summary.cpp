#include "report/Summary.h"

#include "text/Format.h"

#include <algorithm>
#include <cctype>

namespace plate_mend::host {

namespace {

constexpr std::size_t kReasons = 3;

/// Why a photograph is not whole; empty for one that is.
std::string reason_of(const Record& record) {
    if (record.verdict == Verdict::kWhole || record.verdict == Verdict::kIntact) {
        return "";
    }
    if (!record.problem.empty()) {
        return record.problem;
    }
    const Attempt* taken = record.taken();
    if (taken != nullptr && !taken->judgement.findings.empty()) {
        return taken->judgement.findings.front();
    }
    return describe_refusal(record);
}

/// Reasons that differ only in their numbers are one.
std::string without_numbers(const std::string& text) {
    std::string result;
    for (const char letter : text) {
        const bool digit = std::isdigit(static_cast<unsigned char>(letter)) != 0;
        if (!digit || result.empty() || result.back() != '#') {
            result += digit ? '#' : letter;
        }
    }
    return result;
}

} // namespace

void Summary::add(const Record& record) {
    counts_.add(record.verdict);
    delivered_ = delivered_ || record.raw || record.jpeg;
    if (const std::string text = reason_of(record); !text.empty()) {
        Reason& reason = reasons_[without_numbers(text)];
        if (++reason.files == 1) {
            reason.text = text;
            reason.file = record.damaged.path;
        }
    }
}

std::vector<const Summary::Reason*> Summary::commonest_reasons() const {
    std::vector<const Reason*> reasons;
    for (const auto& [text, reason] : reasons_) {
        reasons.push_back(&reason);
    }
    std::stable_sort(reasons.begin(), reasons.end(),
                     [](const Reason* one, const Reason* other) { return one->files > other->files; });
    reasons.resize(std::min(reasons.size(), kReasons));
    return reasons;
}

std::vector<std::string> Summary::lines(const RunEnd& end) const {
    const std::uint64_t done = counts_.total();
    std::vector<std::string> lines;
    lines.push_back((end.stopped ? "Stopped after " + std::to_string(done) + " of " : "") +
                    format_count(end.files, "file") + (done == 0 ? "" : ": " + describe(counts_)));
    const auto reasons = commonest_reasons();
    if (!reasons.empty()) {
        lines.emplace_back(reasons_.size() > kReasons ? "The commonest reasons:" : "Reasons:");
    }
    for (const Reason* reason : reasons) {
        lines.push_back("  " + format_count(reason->files, "file") +
                        (reason->files == 1 ? ", " : ", such as ") + reason->file + ": " + reason->text);
    }
    if (delivered_) {
        lines.push_back("Results: " + (end.results.empty() ? "beside the damaged files" : end.results));
    }
    if (!end.contact_sheet.empty()) {
        lines.push_back("Contact sheet: " + end.contact_sheet);
    }
    const bool unfinished = counts_.of(Verdict::kNotDone) + counts_.of(Verdict::kNotRepaired) != 0;
    if (end.resumable && (end.stopped || unfinished)) {
        lines.push_back(
            std::string(end.stopped ? "To go on" : "To try those again that are lost or not done") +
            ": the same command with --resume");
    } else if (end.stopped) {
        lines.emplace_back("A run with --out FOLDER can be resumed; this one cannot");
    }
    return lines;
}

} // namespace plate_mend::host
