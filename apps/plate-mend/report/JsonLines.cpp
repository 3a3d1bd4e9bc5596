#include "report/JsonLines.h"

#include "record/JsonFields.h"
#include "report/Codes.h"
#include "text/Paths.h"

namespace plate_mend::host {

namespace {

constexpr const char* kSchema = "plate-mend/record/1";

Json object(const FileIdentity& file) {
    return {{"path", escaped_name(file.path)}, {"size", file.size}, {"sha256", text(file.sha256)}};
}

Json object(const std::optional<FileIdentity>& file) {
    return file ? object(*file) : Json(nullptr);
}

Json object(const Attempt& attempt) {
    const bool made = attempt.code == 0;
    return {{"sample", escaped_name(attempt.sample)},
            {"why", text(attempt.why)},
            {"code", number(attempt.code)},
            {"meaning", attempt.code && !made ? Json(explain_repair(*attempt.code)) : Json(nullptr)},
            {"problem", text(attempt.problem)},
            {"judgement", made ? to_json(attempt.judgement) : Json(nullptr)},
            {"taken", attempt.taken},
            {"engine", text(attempt.engine)}};
}

Json object(const std::vector<UnreadableSpan>& spans) {
    Json list = Json::array();
    for (const UnreadableSpan& span : spans) {
        list.push_back({{"offset", span.offset}, {"size", span.size}});
    }
    return list;
}

FileIdentity file_in(const Json& json) {
    return {.path = unescaped_name(json.at("path").get<std::string>()),
            .size = integer_in<std::uint64_t>(json, "size"),
            .sha256 = text_in(json, "sha256")};
}

std::optional<FileIdentity> maybe_file_in(const Json& json, const char* name) {
    const Json& value = field(json, name);
    return value.is_null() ? std::nullopt : std::optional(file_in(value));
}

Attempt attempt_in(const Json& json) {
    Attempt attempt;
    attempt.sample = unescaped_name(json.at("sample").get<std::string>());
    attempt.why = text_in(json, "why");
    attempt.code = maybe_integer_in<std::int32_t>(json, "code");
    attempt.problem = text_in(json, "problem");
    attempt.judgement = judgement_from(field(json, "judgement"));
    attempt.taken = truth_in(json, "taken");
    attempt.engine = text_in(json, "engine");
    return attempt;
}

} // namespace

Record record_from(const Json& json) {
    if (json.at("schema") != kSchema) {
        throw std::invalid_argument("schema");
    }
    Record record;
    record.damaged = file_in(json.at("damaged"));
    record.verdict = verdict_named(json.at("verdict").get<std::string>()).value();
    record.problem = text_in(json, "problem");
    for (const Json& attempt : field(json, "attempts")) {
        record.attempts.push_back(attempt_in(attempt));
    }
    record.salvage = salvage_from(field(json, "salvage"));
    record.raw = maybe_file_in(json, "raw");
    record.jpeg = maybe_file_in(json, "jpeg");
    for (const Json& span : field(json, "unreadable")) {
        record.unreadable.push_back(
            {integer_in<std::uint64_t>(span, "offset"), integer_in<std::uint64_t>(span, "size")});
    }
    record.zeros_left_out = integer_in<std::uint64_t>(json, "zeros_left_out");
    record.seconds = maybe_real_in(json, "seconds").value_or(0);
    return record;
}

Json to_json(const Record& record) {
    Json attempts = Json::array();
    for (const Attempt& attempt : record.attempts) {
        attempts.push_back(object(attempt));
    }
    return {{"schema", kSchema},
            {"damaged", object(record.damaged)},
            {"verdict", name_of(record.verdict)},
            {"problem", text(record.problem)},
            {"attempts", std::move(attempts)},
            {"salvage", to_json(record.salvage)},
            {"raw", object(record.raw)},
            {"jpeg", object(record.jpeg)},
            {"unreadable", object(record.unreadable)},
            {"zeros_left_out", record.zeros_left_out},
            {"seconds", record.seconds}};
}

std::string to_json_line(const Record& record) {
    return line_of(to_json(record));
}

std::optional<Record> from_json_line(std::string_view line) {
    try {
        return record_from(Json::parse(line));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace plate_mend::host
