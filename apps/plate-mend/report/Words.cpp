#include "report/Words.h"

#include "record/Codes.h"
#include "text/Format.h"

#include <numeric>

namespace plate_mend::host {

namespace {

std::string explain_refusal(const Attempt& attempt) {
    if (!attempt.problem.empty()) {
        return attempt.problem;
    }
    if (!attempt.code) {
        return "was not tried";
    }
    if (*attempt.code != 0) {
        return explain_attempt(attempt.engine, *attempt.code);
    }
    if (!attempt.judgement.decodes) {
        return "LibRaw does not decode the result";
    }
    return attempt.judgement.findings.empty() ? "another sample was taken" : join(attempt.judgement.findings);
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
    return (attempt.engine == kRawEngine ? "raw engine: " : "") + explain_refusal(attempt);
}

std::string describe_refusal(const Record& record) {
    std::vector<std::string> parts;
    for (const Attempt& attempt : record.attempts) {
        if (attempt.sample == record.attempts.back().sample) {
            parts.push_back(describe_refusal(attempt));
        }
    }
    return join(parts);
}

std::string describe(const FoundImage& image) {
    const auto count = [](std::uint64_t pieces) { return format_count(pieces, "piece"); };
    std::string text = std::string("image found ") + explain_way(image.way) + ", ";
    if (image.pieces_found < image.pieces) {
        text += std::to_string(image.pieces_found) + " of " + count(image.pieces);
    } else {
        text += count(image.pieces);
    }
    text += ", " + (image.pieces_proved >= image.pieces ? "proved"
                                                        : std::to_string(image.pieces_proved) + " proved");
    return image.pieces_mended == 0
               ? text
               : text + ", " + std::to_string(image.pieces_mended) + " put together anew";
}

std::uint64_t unreadable_bytes(const std::vector<UnreadableSpan>& unreadable) {
    return std::accumulate(unreadable.begin(), unreadable.end(), std::uint64_t{0},
                           [](std::uint64_t bytes, const UnreadableSpan& span) { return bytes + span.size; });
}

std::string describe_unreadable(const std::vector<UnreadableSpan>& unreadable) {
    const std::size_t places = unreadable.size();
    return places == 0 ? ""
                       : format_size(unreadable_bytes(unreadable)) + " of it cannot be read (" +
                             format_count(places, "place") + ')';
}

} // namespace plate_mend::host
