#include "report/JsonLines.h"

#include "Codes.h"
#include "report/JsonFields.h"

namespace plate_mend::host {

namespace {

constexpr const char* kSchema = "plate-mend/record/1";

Json object(const FileIdentity& file) {
    return {{"path", file.path}, {"size", file.size}, {"sha256", text(file.sha256)}};
}

Json object(const std::optional<FileIdentity>& file) {
    return file ? object(*file) : Json(nullptr);
}

Json object(const Attempt& attempt) {
    const bool made = attempt.code == 0;
    return {{"sample", attempt.sample},
            {"why", text(attempt.why)},
            {"code", number(attempt.code)},
            {"meaning", attempt.code && !made ? Json(explain_repair(*attempt.code)) : Json(nullptr)},
            {"problem", text(attempt.problem)},
            {"judgement", made ? to_json(attempt.judgement) : Json(nullptr)},
            {"taken", attempt.taken}};
}

FileIdentity file_in(const Json& json) {
    return {.path = json.at("path").get<std::string>(),
            .size = integer_in<std::uint64_t>(json, "size"),
            .sha256 = text_in(json, "sha256")};
}

std::optional<FileIdentity> maybe_file_in(const Json& json, const char* name) {
    const Json& value = field(json, name);
    return value.is_null() ? std::nullopt : std::optional(file_in(value));
}

Attempt attempt_in(const Json& json) {
    return {.sample = json.at("sample").get<std::string>(),
            .why = text_in(json, "why"),
            .code = maybe_integer_in<std::int32_t>(json, "code"),
            .problem = text_in(json, "problem"),
            .judgement = judgement_from(field(json, "judgement")),
            .taken = truth_in(json, "taken")};
}

/// Throws std::exception for what is no record.
Record record_in(const Json& json) {
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
    record.seconds = maybe_real_in(json, "seconds").value_or(0);
    return record;
}

} // namespace

std::string to_json_line(const Record& record) {
    Json attempts = Json::array();
    for (const Attempt& attempt : record.attempts) {
        attempts.push_back(object(attempt));
    }
    const Json json = {{"schema", kSchema},
                       {"damaged", object(record.damaged)},
                       {"verdict", name_of(record.verdict)},
                       {"problem", text(record.problem)},
                       {"attempts", std::move(attempts)},
                       {"salvage", to_json(record.salvage)},
                       {"raw", object(record.raw)},
                       {"jpeg", object(record.jpeg)},
                       {"seconds", record.seconds}};
    return line_of(json);
}

std::optional<Record> from_json_line(std::string_view line) {
    try {
        return record_in(Json::parse(line));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace plate_mend::host
