#include "report/Html.h"

#include "record/Codes.h"
#include "report/HtmlPage.h"
#include "report/LostAreas.h"
#include "text/Format.h"
#include "text/Text.h"

#include <raw_mend/raw_mend.h>

#include <algorithm>
#include <random>
#include <stdexcept>
#include <utility>

namespace plate_mend::host {

namespace {

/// Bytes reserved at the top of the page for the summary.
constexpr std::size_t kSummaryRoom = 4096;

/// For text and for attributes in double quotes.
std::string escape(std::string_view text) {
    std::string result;
    for (const char letter : printable(text)) {
        switch (letter) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        case '\'':
            result += "&#39;";
            break;
        default:
            result += letter;
        }
    }
    return result;
}

std::string base64(std::string_view bytes) {
    constexpr const char* kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string result;
    result.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t index = 0; index < bytes.size(); index += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - index);
        std::uint32_t group = 0;
        for (std::size_t place = 0; place < 3; ++place) {
            const auto byte = place < count ? static_cast<unsigned char>(bytes[index + place]) : 0U;
            group = group << 8 | byte;
        }
        for (std::size_t place = 0; place < 4; ++place) {
            result += place <= count ? kLetters[group >> (18 - 6 * place) & 0x3F] : '=';
        }
    }
    return result;
}

std::string base_name(const std::string& path) {
    const std::size_t last = path.find_last_of("/\\");
    return last == std::string::npos || last + 1 == path.size() ? path : path.substr(last + 1);
}

/// The verdict's name as one word, for attributes and the page's address.
std::string slug_of(Verdict verdict) {
    std::string text = name_of(verdict);
    std::replace(text.begin(), text.end(), ' ', '-');
    return text;
}

/// What this verdict means for a client.
const char* describe_meaning(Verdict verdict) {
    switch (verdict) {
    case Verdict::kWhole:
        return "RAW, without a sign of damage";
    case Verdict::kIntact:
        return "nothing to repair";
    case Verdict::kPartial:
        return "RAW, with some of the picture lost";
    case Verdict::kPreviewOnly:
        return "a JPEG from inside the file";
    case Verdict::kNotDone:
        return "run again with --resume";
    case Verdict::kNotRepaired:
        break;
    }
    return "nothing could be delivered";
}

std::string term_html(const std::string& name, const std::string& html) {
    return "<dt>" + name + "</dt><dd>" + html + "</dd>\n";
}

std::string file_html(const FileIdentity& file) {
    std::string html =
        escape(file.path) + "<br>" + format_size(file.size) + " (" + format_count(file.size, "byte") + ")";
    if (!file.sha256.empty()) {
        html += "<br>SHA-256 <code>" + escape(file.sha256) + "</code>";
    }
    return html;
}

std::string list_html(const std::vector<std::string>& lines, const std::string& kind = "plain") {
    std::string html = "<ul class=\"" + kind + "\">";
    for (const std::string& line : lines) {
        html += "<li>" + escape(line) + "</li>";
    }
    return html + "</ul>";
}

/// The picture, or why there is none.
std::string mount_html(const Record& record) {
    std::string html = "<div class=\"mount\">";
    if (record.picture.empty()) {
        html += record.verdict == Verdict::kNotRepaired || record.verdict == Verdict::kNotDone
                    ? "No picture was recovered"
                    : "No small picture";
    } else {
        html += R"(<img loading="lazy" decoding="async" alt="The picture of )" +
                escape(base_name(record.damaged.path)) + "\" src=\"data:image/jpeg;base64," +
                base64(record.picture) + "\">";
        html += record.taken() != nullptr ? draw_areas(*record.taken()) : "";
    }
    return html + "</div>\n";
}

std::string format_pixels(std::uint32_t width, std::uint32_t height) {
    return std::to_string(width) + " × " + std::to_string(height) + " pixels";
}

std::string facts_html(const Record& record) {
    std::vector<std::string> facts;
    const Attempt* taken = record.taken();
    if (taken != nullptr && taken->judgement.decodes) {
        facts.push_back(taken->judgement.camera);
        facts.push_back(format_pixels(taken->judgement.width, taken->judgement.height));
    } else if (record.jpeg) {
        facts.push_back(format_pixels(record.salvage.width, record.salvage.height));
    }
    facts.push_back(format_size(record.damaged.size));
    std::string html;
    for (const std::string& fact : facts) {
        if (!fact.empty()) {
            html += (html.empty() ? "<span>" : " · <span>") + escape(fact) + "</span>";
        }
    }
    if (taken != nullptr && taken->judgement.share()) {
        html += "<span class=\"share\">" + format_share(*taken->judgement.share()) +
                (taken->judgement.pixels_good ? " of the pixels are the photograph's own</span>"
                                              : " of the rows without damage</span>");
    }
    return "<p class=\"facts\">" + html + "</p>\n";
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

/// Whether the metadata of a result are the photograph's.
bool has_own_metadata(const Attempt& attempt) {
    return attempt.image && (attempt.image->notes & RAW_MEND_SAMPLE_METADATA) == 0;
}

/// Where the parts of the delivered files come from.
std::string origin_html(const Record& record) {
    const std::string damaged = escape(base_name(record.damaged.path));
    std::string html;
    if (const Attempt* taken = record.taken(); taken != nullptr && record.raw) {
        const std::string& date = taken->judgement.taken;
        const bool own = has_own_metadata(*taken);
        html += term_html("Image data", "from the damaged file <b>" + damaged + "</b>");
        html += term_html("Everything else: date, exposure, white balance, lens, GPS, serial number",
                          own ? "from the damaged file, too"
                              : "from the sample <b>" + escape(base_name(taken->sample)) + "</b>" +
                                    (date.empty() ? "" : ", so the file is dated " + escape(date)));
    }
    if (record.jpeg) {
        html += term_html("JPEG",
                          "from inside the damaged file <b>" + damaged + "</b>; nothing of it is a sample's");
    }
    return html.empty() ? html : "<dl class=\"origin\">\n" + html + "</dl>\n";
}

/// What made the delivered photograph, and what to know about it.
std::string repair_html(const Attempt& taken) {
    if (!taken.image) {
        return term_html("Repair", "carried out (code 0)");
    }
    std::vector<std::string> lines{describe(*taken.image)};
    const auto notes = explain_bits(taken.image->notes, CodeSource::kNote);
    lines.insert(lines.end(), notes.begin(), notes.end());
    if (taken.pictures_rendered != 0) {
        lines.push_back(format_count(taken.pictures_rendered, "preview") + " rendered from its own image");
    }
    return term_html("Repair by the raw engine", list_html(lines));
}

std::string samples_html(const Record& record) {
    std::string html;
    if (const Attempt* taken = record.taken()) {
        html += term_html("Sample taken", escape(taken->sample) +
                                              (taken->why.empty() ? "" : "<br>Why: " + escape(taken->why)));
        html += repair_html(*taken);
    }
    std::vector<std::string> refused;
    for (const Attempt& attempt : record.attempts) {
        if (!attempt.taken) {
            refused.push_back(attempt.sample + ": " + describe_refusal(attempt) +
                              (attempt.why.empty() ? "" : " [" + attempt.why + "]"));
        }
    }
    return refused.empty() ? html : html + term_html("Samples refused", list_html(refused));
}

std::string salvage_html(const SalvagedPicture& salvage) {
    if (!salvage.code) {
        return "";
    }
    std::vector<std::string> lines = explain_bits(salvage.warnings, CodeSource::kWarning);
    if (salvage.blocks != 0) {
        lines.insert(lines.begin(), std::to_string(salvage.blocks_own) + " of " +
                                        std::to_string(salvage.blocks) +
                                        " blocks are the photographer's own");
    }
    return lines.empty() ? "" : term_html("JPEG from inside the damaged file", list_html(lines));
}

std::string details_html(const Record& record) {
    std::string html = "<details><summary>Files, samples and sums</summary>\n<dl>\n";
    html += term_html("Damaged file", file_html(record.damaged));
    if (record.raw) {
        html += term_html("RAW photograph written", file_html(*record.raw));
    }
    if (record.jpeg) {
        html += term_html("JPEG written", file_html(*record.jpeg));
    }
    if (record.mask) {
        html += term_html("Mask written", file_html(*record.mask));
    }
    html += samples_html(record);
    html += salvage_html(record.salvage);
    return html + "</dl></details>\n";
}

std::string rows_html(const Attempt* taken) {
    if (taken == nullptr || !taken->judgement.share()) {
        return "";
    }
    std::string share = format_share(*taken->judgement.share());
    std::erase(share, ' ');
    return R"(<div class="rows"><span style="width:)" + share + "\"></span></div>\n";
}

/// A number that cannot be guessed: with it only the page's own script runs, whatever texts the page
/// contains.
std::string random_word() {
    std::random_device random;
    return std::to_string(random()) + std::to_string(random());
}

std::string tile_html(const std::string& verdict, std::uint64_t count, const std::string& name,
                      const std::string& meaning) {
    return R"(<button type="button" disabled class="tile )" + verdict + R"(" data-verdict=")" + verdict +
           R"(" aria-pressed="false"><b>)" + std::to_string(count) + "</b><span>" + name + "</span><small>" +
           meaning + "</small></button>\n";
}

constexpr const char* kTools = R"html(<div class="tools" role="search" hidden>
<label for="find">Find <input id="find" type="search" placeholder="part of a name"></label>
<label for="sort">Sort by <select id="sort"><option value="order">order of work</option><option value="name">name</option><option value="verdict">verdict</option><option value="size">size</option><option value="rows">share without damage</option></select></label>
<output id="shown" aria-live="polite"></output>
</div>
<main>
<p id="none" class="none" hidden>No file is shown. Choose another verdict, or empty the field "Find".</p>
<ul class="sheet">
)html";

} // namespace

std::string html_card(const Record& record, std::uint64_t number) {
    const std::string verdict = slug_of(record.verdict);
    const std::string name = escape(base_name(record.damaged.path));
    const Attempt* taken = record.taken();
    const auto share = taken == nullptr ? std::nullopt : taken->judgement.share();
    std::string html = "<li class=\"card " + verdict + "\" data-verdict=\"" + verdict + "\" data-order=\"" +
                       std::to_string(number) + "\" data-name=\"" + name + "\" data-size=\"" +
                       std::to_string(record.damaged.size) + "\" data-rows=\"" +
                       (share ? std::to_string(*share) : "") + "\">\n";
    html += mount_html(record) + rows_html(taken);
    html += taken != nullptr && !record.picture.empty() ? legend_of_areas(*taken) : "";
    html += "<div class=\"text\">\n<div class=\"name\"><h2>" + name + "</h2><span class=\"badge\">" +
            std::string(describe(record.verdict)) + "</span></div>\n" + facts_html(record);
    if (const auto findings = findings_of(record); !findings.empty()) {
        html += list_html(findings, "findings") + '\n';
    }
    html += "<div class=\"rest\">\n" + origin_html(record) + details_html(record);
    return html + "</div>\n</div></li>\n";
}

HtmlReport::HtmlReport(OutputFile file, std::string made) : file_(std::move(file)), made_(std::move(made)) {
    const std::string word = random_word();
    write("<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
          "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; img-src data:; "
          "style-src 'unsafe-inline'; script-src 'nonce-" +
          word +
          "'\">\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
          "<title>Recovered photographs</title>\n<style>" +
          kHtmlStyle + "</style>\n</head>\n<body>\n<header>\n<h1>Recovered photographs</h1>\n");
    summary_place_ = length_;
    write(std::string(kSummaryRoom, ' '));
    write("</header>\n");
    write(kTools);
    script_ = "<script nonce=\"" + word + "\">" + kHtmlScript + "</script>\n";
}

void HtmlReport::write(std::string_view text) {
    file_.write(text);
    length_ += text.size();
}

void HtmlReport::add(const Record& record) {
    write(html_card(record, counts_.total()));
    counts_.add(record.verdict);
}

std::string HtmlReport::summary(bool interrupted) const {
    const std::uint64_t total = counts_.total();
    std::string html = "<p class=\"lead\">" + std::to_string(total) + (total == 1 ? " file: " : " files: ") +
                       describe(counts_) + "</p>\n";
    if (interrupted) {
        html += "<p class=\"alert\" role=\"note\">The run was interrupted. Here is what was done until "
                "then.</p>\n";
    }
    html += R"(<div class="bar" aria-hidden="true">)";
    for (const Verdict verdict : kVerdicts) {
        if (counts_.of(verdict) != 0) {
            html += "<span class=\"" + slug_of(verdict) +
                    "\" style=\"flex:" + std::to_string(counts_.of(verdict)) + "\"></span>";
        }
    }
    html += "</div>\n<div class=\"tiles\" role=\"group\" aria-label=\"Show\">\n" +
            tile_html("", total, "all files", "that were given");
    for (const Verdict verdict : kVerdicts) {
        const bool rare = verdict == Verdict::kIntact || verdict == Verdict::kNotDone;
        if (!rare || counts_.of(verdict) != 0) {
            html += tile_html(slug_of(verdict), counts_.of(verdict), describe(verdict),
                              describe_meaning(verdict));
        }
    }
    return html + "</div>\n";
}

void HtmlReport::close(bool interrupted) {
    write(
        "</ul>\n</main>\n<footer>In a repaired RAW photograph the image data are those of the damaged file; "
        "where nothing else is said, all else, its date too, is the sample's. " +
        escape(made_) + "</footer>\n" + script_ + "</body>\n</html>\n");
    const std::string text = summary(interrupted);
    if (text.size() > kSummaryRoom) {
        throw std::logic_error("the summary is longer than its room");
    }
    file_.write_at(summary_place_, text);
    file_.publish();
}

} // namespace plate_mend::host
