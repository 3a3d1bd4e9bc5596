#include "report/Facts.h"

#include "record/Codes.h"
#include "report/Card.h"
#include "report/Words.h"
#include "text/Format.h"

#include <raw_mend/raw_mend.h>

#include <algorithm>

namespace plate_mend::host {

namespace {

std::string format_pixels(std::uint32_t width, std::uint32_t height) {
    return std::to_string(width) + " × " + std::to_string(height) + " pixels";
}

/// Whether the metadata of a result are the photograph's.
bool has_own_metadata(const Attempt& attempt) {
    return attempt.image && (attempt.image->notes & RAW_MEND_SAMPLE_METADATA) == 0;
}

} // namespace

std::vector<std::string> facts_of(const Record& record) {
    std::vector<std::string> facts;
    const Attempt* taken = record.taken();
    if (taken != nullptr && taken->judgement.decodes) {
        facts.push_back(taken->judgement.camera);
        facts.push_back(format_pixels(taken->judgement.width, taken->judgement.height));
    } else if (record.jpeg) {
        facts.push_back(format_pixels(record.salvage.width, record.salvage.height));
    }
    facts.push_back(format_size(record.damaged.size));
    std::erase(facts, "");
    return facts;
}

std::string share_of(const Record& record) {
    const Attempt* taken = record.taken();
    const auto share = taken == nullptr ? std::nullopt : taken->judgement.share();
    if (!share) {
        return "";
    }
    return format_share(*share) + (taken->judgement.pixels_good ? " of the pixels are the photograph's own"
                                                                : " of the rows without damage");
}

std::vector<std::string> findings_of(const Record& record) {
    std::vector<std::string> findings;
    if (!record.problem.empty()) {
        findings.push_back(record.problem);
    }
    if (!record.unreadable.empty()) {
        findings.push_back(describe_unreadable(record.unreadable));
    }
    if (const Attempt* taken = record.taken()) {
        findings.insert(findings.end(), taken->judgement.findings.begin(), taken->judgement.findings.end());
    } else if (!record.attempts.empty()) {
        findings.push_back("Repair: " + describe_refusal(record));
    }
    if (record.salvage.code && *record.salvage.code != 0) {
        findings.push_back("Salvage: " + explain_salvage(*record.salvage.code));
    } else if (!record.salvage.problem.empty()) {
        findings.push_back("Salvage: " + record.salvage.problem);
    }
    return findings;
}

std::vector<Origin> origins_of(const Record& record) {
    const std::string damaged = base_name(record.damaged.path);
    std::vector<Origin> origins;
    if (const Attempt* taken = record.taken(); taken != nullptr && record.raw) {
        const std::string& date = taken->judgement.taken;
        constexpr const char* kRest =
            "Everything else: date, exposure, white balance, lens, GPS, serial number";
        origins.push_back({"Image data", "from the damaged file ", damaged});
        if (has_own_metadata(*taken)) {
            origins.push_back({kRest, "from the damaged file, too"});
        } else {
            origins.push_back({kRest, "from the sample ", base_name(taken->sample),
                               date.empty() ? "" : ", so the file is dated ", date});
        }
    }
    if (record.jpeg) {
        origins.push_back(
            {"JPEG", "from inside the damaged file ", damaged, "; nothing of it is a sample's"});
    }
    return origins;
}

} // namespace plate_mend::host
