#include "report/Csv.h"

#include "record/Codes.h"
#include "report/Words.h"
#include "text/Format.h"
#include "text/Text.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace plate_mend::host {

namespace {

constexpr std::array kColumns = {
    "damaged",     "damaged_size",    "damaged_sha256", "unreadable",    "zeros_left_out", "verdict",
    "problem",     "sample",          "sample_why",     "engine",        "code",           "meaning",
    "way",         "pieces",          "pieces_found",   "pieces_proved", "notes",          "pixels",
    "pixels_lost", "pixels_doubtful", "width",          "height",        "rows_good",      "pixels_good",
    "data_errors", "findings",        "camera",         "taken",         "refused",        "salvage_code",
    "raw",         "raw_size",        "raw_sha256",     "jpeg",          "jpeg_size",      "jpeg_sha256",
    "mask",        "mask_size",       "mask_sha256",    "seconds"};

constexpr int kDigits = 4; ///< After the decimal point of a number.

std::string quote(const std::string& field) {
    if (field.find_first_of(",\"\r\n") == std::string::npos) {
        return field;
    }
    std::string result = "\"";
    for (const char letter : field) {
        result += letter;
        if (letter == '"') {
            result += letter;
        }
    }
    return result + '"';
}

std::string text(std::string_view value) {
    const bool formula = !value.empty() && std::string_view("=+-@\t\r").find(value.front()) != value.npos;
    std::string shown = formula ? "'" : "";
    shown += well_formed(value);
    return quote(shown);
}

/// The attempt that the row describes; null if no sample led to a code.
const Attempt* reported_attempt(const Record& record) {
    if (const Attempt* taken = record.taken()) {
        return taken;
    }
    const auto last = std::find_if(record.attempts.rbegin(), record.attempts.rend(),
                                   [](const Attempt& attempt) { return attempt.code.has_value(); });
    return last == record.attempts.rend() ? nullptr : &*last;
}

std::string describe_refusals(const Record& record) {
    std::vector<std::string> parts;
    for (const Attempt& attempt : record.attempts) {
        if (!attempt.taken) {
            parts.push_back(attempt.sample + ": " + describe_refusal(attempt));
        }
    }
    return join(parts);
}

void add_file(std::vector<std::string>& fields, const std::optional<FileIdentity>& file) {
    fields.push_back(file ? text(file->path) : "");
    fields.push_back(file ? std::to_string(file->size) : "");
    fields.push_back(file ? text(file->sha256) : "");
}

void add_image(std::vector<std::string>& fields, const std::optional<FoundImage>& image) {
    fields.push_back(image ? text(name_of_way(image->way)) : "");
    fields.push_back(image ? std::to_string(image->pieces) : "");
    fields.push_back(image ? std::to_string(image->pieces_found) : "");
    fields.push_back(image ? std::to_string(image->pieces_proved) : "");
    fields.push_back(image ? text(join(explain_bits(image->notes, CodeSource::kNote))) : "");
    fields.push_back(image ? std::to_string(image->pixels) : "");
    fields.push_back(image ? std::to_string(image->pixels_lost) : "");
    fields.push_back(image ? std::to_string(image->pixels_doubtful) : "");
}

void add_attempt(std::vector<std::string>& fields, const Attempt* attempt) {
    static const Attempt kNone;
    const Attempt& reported = attempt == nullptr ? kNone : *attempt;
    const Judgement& judgement = reported.judgement;
    const bool decodes = judgement.decodes;
    fields.push_back(text(reported.sample));
    fields.push_back(text(reported.why));
    fields.push_back(text(reported.engine));
    fields.push_back(reported.code ? std::to_string(*reported.code) : "");
    fields.push_back(
        reported.code && *reported.code != 0 ? text(explain_attempt(reported.engine, *reported.code)) : "");
    add_image(fields, reported.image);
    fields.push_back(decodes ? std::to_string(judgement.width) : "");
    fields.push_back(decodes ? std::to_string(judgement.height) : "");
    fields.push_back(judgement.rows_good ? format_decimal(*judgement.rows_good, kDigits) : "");
    fields.push_back(judgement.pixels_good ? format_decimal(*judgement.pixels_good, kDigits) : "");
    fields.push_back(decodes ? std::to_string(judgement.data_errors) : "");
    fields.push_back(text(join(judgement.findings)));
    fields.push_back(text(judgement.camera));
    fields.push_back(text(judgement.taken));
}

std::string join_fields(const std::vector<std::string>& fields) {
    std::string result;
    for (const std::string& field : fields) {
        result += (&field == &fields.front() ? "" : ",") + field;
    }
    return result + "\r\n";
}

} // namespace

std::string csv_header() {
    return join_fields({kColumns.begin(), kColumns.end()});
}

std::string csv_row(const Record& record) {
    std::vector<std::string> fields;
    fields.reserve(kColumns.size());
    add_file(fields, record.damaged);
    fields.push_back(std::to_string(unreadable_bytes(record.unreadable)));
    fields.push_back(std::to_string(record.zeros_left_out));
    fields.emplace_back(name_of(record.verdict));
    fields.push_back(text(record.problem));
    add_attempt(fields, reported_attempt(record));
    fields.push_back(text(describe_refusals(record)));
    fields.push_back(record.salvage.code ? std::to_string(*record.salvage.code) : "");
    add_file(fields, record.raw);
    add_file(fields, record.jpeg);
    add_file(fields, record.mask);
    fields.push_back(format_decimal(record.seconds, kDigits));
    return join_fields(fields);
}

} // namespace plate_mend::host
