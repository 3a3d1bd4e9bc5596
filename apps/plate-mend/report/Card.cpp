#include "report/Card.h"

#include "record/Codes.h"
#include "report/Facts.h"
#include "report/LostAreas.h"
#include "report/Words.h"
#include "text/Format.h"
#include "text/Paths.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

std::string term_html(const std::string& name, const std::string& html) {
    return "<dt>" + name + "</dt><dd>" + html + "</dd>\n";
}

/// `href` comes from Links, and needs no escape.
std::string link_html(const std::string& href, const std::string& text, const std::string& attributes = "") {
    return "<a" + attributes + " href=\"" + href + "\">" + escape(text) + "</a>";
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

std::string facts_html(const Record& record) {
    std::string html;
    for (const std::string& fact : facts_of(record)) {
        html += (html.empty() ? "<span>" : " · <span>") + escape(fact) + "</span>";
    }
    if (const std::string share = share_of(record); !share.empty()) {
        html += "<span class=\"share\">" + share + "</span>";
    }
    return "<p class=\"facts\">" + html + "</p>\n";
}

std::string origin_html(const Record& record) {
    std::string html;
    for (const Origin& origin : origins_of(record)) {
        html += term_html(origin.part, origin.before +
                                           (origin.name.empty() ? "" : "<b>" + escape(origin.name) + "</b>") +
                                           origin.after + escape(origin.date));
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

std::string samples_html(const Record& record, const Links& links) {
    std::string html;
    if (const Attempt* taken = record.taken()) {
        html += term_html("Sample taken", link_html(links.to(taken->sample), taken->sample) +
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

std::string details_html(const Record& record, const Links& links) {
    std::string html = "<details class=\"more\"><summary>Files, samples and sums</summary>\n<dl>\n";
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
    html += samples_html(record, links);
    html += salvage_html(record.salvage);
    return html + "</dl></details>\n";
}

/// The picture, or why there is none. The page's script makes it a button for the large view.
std::string mount_html(const Record& record, const std::string& name, const std::string& picture) {
    std::string html = R"(<button type="button" class="mount" tabindex="-1" aria-label="Show )" + name +
                       ", " + describe(record.verdict) + ", large\">";
    if (picture.empty()) {
        html += record.verdict == Verdict::kNotRepaired || record.verdict == Verdict::kNotDone
                    ? "No picture was recovered"
                    : "No small picture";
    } else {
        html += R"(<img loading="lazy" decoding="async" alt="" src=")" + picture + "\">";
        html += record.taken() != nullptr ? draw_areas(*record.taken()) : "";
    }
    return html + "</button>\n";
}

/// A bar of the share that is good.
std::string rows_html(const Attempt* taken) {
    if (taken == nullptr || !taken->judgement.share()) {
        return "";
    }
    std::string share = format_share(*taken->judgement.share());
    std::erase(share, ' ');
    return R"(<svg class="rows" aria-hidden="true"><rect width=")" + share + "\" height=\"4\"/></svg>\n";
}

/// The files that belong to a record.
std::string links_html(const Record& record, const Links& links) {
    std::string html = "<p class=\"links\">";
    if (record.raw) {
        html += link_html(links.to(record.raw->path), "Repaired RAW");
    }
    if (record.jpeg) {
        html += link_html(links.to(record.jpeg->path), "JPEG", " class=\"jpeg\"");
    }
    if (record.mask) {
        html += link_html(links.to(record.mask->path), "Mask");
    }
    html += link_html(links.to(record.damaged.path),
                      record.verdict == Verdict::kIntact ? "Photograph" : "Damaged file");
    return html + "</p>\n";
}

/// What the page's script sorts and filters by.
std::string data_html(const Record& record, std::uint64_t number, const std::string& name) {
    const Attempt* taken = record.taken();
    const auto share = taken == nullptr ? std::nullopt : taken->judgement.share();
    return " data-verdict=\"" + slug_of(record.verdict) + "\" data-order=\"" + std::to_string(number) +
           "\" data-name=\"" + name + "\" data-size=\"" + std::to_string(record.damaged.size) +
           "\" data-rows=\"" + (share ? std::to_string(*share) : "") + "\"";
}

} // namespace

std::string slug_of(Verdict verdict) {
    std::string text = name_of(verdict);
    std::replace(text.begin(), text.end(), ' ', '-');
    return text;
}

std::string folder_name(const std::string& path) {
    const fs::path folder = path_from(path).parent_path();
    return folder.empty() ? "." : utf8_from(folder);
}

std::string base_name(const std::string& path) {
    const fs::path name = path_from(path).filename();
    return name.empty() ? path : utf8_from(name);
}

Card card_of(const Record& record, std::uint64_t number, const Links& links, const CardPictures& pictures) {
    const std::string name = escape(base_name(record.damaged.path));
    const Attempt* taken = record.taken();
    std::string tag = "<li class=\"card " + slug_of(record.verdict) + "\"" + data_html(record, number, name) +
                      (pictures.sample.empty() ? "" : " data-sample=\"" + pictures.sample + "\"") + ">";
    std::string html = mount_html(record, name, pictures.picture) + rows_html(taken);
    html += taken != nullptr && !pictures.picture.empty() ? legend_of_areas(*taken) : "";
    html += "<div class=\"text\">\n<div class=\"name\"><h3 title=\"" + name + "\">" + name +
            "</h3><span class=\"badge\">" + std::string(describe(record.verdict)) + "</span></div>\n" +
            facts_html(record);
    if (const auto findings = findings_of(record); !findings.empty()) {
        html += list_html(findings, "findings") + '\n';
    }
    html += "<div class=\"rest\">\n" + origin_html(record) + links_html(record, links) +
            details_html(record, links);
    return {std::move(tag), html + "</div>\n</div>"};
}

} // namespace plate_mend::host
