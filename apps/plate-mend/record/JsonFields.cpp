#include "record/JsonFields.h"

namespace plate_mend::host {

Json text(const std::string& value) {
    return value.empty() ? Json(nullptr) : Json(value);
}

Json to_json(const Judgement& judgement) {
    return {{"decodes", judgement.decodes},
            {"width", judgement.width},
            {"height", judgement.height},
            {"data_errors", judgement.data_errors},
            {"rows_good", number(judgement.rows_good)},
            {"findings", judgement.findings},
            {"camera", text(judgement.camera)},
            {"taken", text(judgement.taken)}};
}

Json to_json(const SalvagedPicture& salvage) {
    if (!salvage.code && salvage.problem.empty()) {
        return nullptr;
    }
    return {{"code", number(salvage.code)},
            {"problem", text(salvage.problem)},
            {"width", salvage.width},
            {"height", salvage.height},
            {"blocks", salvage.blocks},
            {"blocks_own", salvage.blocks_own},
            {"blocks_coarse", salvage.blocks_coarse},
            {"blocks_guessed", salvage.blocks_guessed},
            {"first_bad_byte",
             salvage.first_bad_byte == UINT64_MAX ? Json(nullptr) : Json(salvage.first_bad_byte)},
            {"warnings", salvage.warnings}};
}

std::string line_of(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

const Json& field(const Json& json, const char* name) {
    static const Json kNull;
    const auto found = json.find(name);
    return found == json.end() ? kNull : *found;
}

std::string text_in(const Json& json, const char* name) {
    const Json& value = field(json, name);
    return value.is_null() ? std::string() : value.get<std::string>();
}

bool truth_in(const Json& json, const char* name) {
    const Json& value = field(json, name);
    return !value.is_null() && value.get<bool>();
}

std::optional<double> maybe_real_in(const Json& json, const char* name) {
    const Json& value = field(json, name);
    return value.is_null() ? std::nullopt : std::optional(value.get<double>());
}

Judgement judgement_from(const Json& json) {
    if (json.is_null()) {
        return {};
    }
    Judgement judgement;
    judgement.decodes = truth_in(json, "decodes");
    judgement.width = integer_in<std::uint32_t>(json, "width");
    judgement.height = integer_in<std::uint32_t>(json, "height");
    judgement.data_errors = integer_in<std::uint32_t>(json, "data_errors");
    judgement.rows_good = maybe_real_in(json, "rows_good");
    for (const Json& finding : field(json, "findings")) {
        judgement.findings.push_back(finding.get<std::string>());
    }
    judgement.camera = text_in(json, "camera");
    judgement.taken = text_in(json, "taken");
    return judgement;
}

SalvagedPicture salvage_from(const Json& json) {
    if (json.is_null()) {
        return {};
    }
    return {.code = maybe_integer_in<std::int32_t>(json, "code"),
            .problem = text_in(json, "problem"),
            .width = integer_in<std::uint32_t>(json, "width"),
            .height = integer_in<std::uint32_t>(json, "height"),
            .blocks = integer_in<std::uint64_t>(json, "blocks"),
            .blocks_own = integer_in<std::uint64_t>(json, "blocks_own"),
            .blocks_coarse = integer_in<std::uint64_t>(json, "blocks_coarse"),
            .blocks_guessed = integer_in<std::uint64_t>(json, "blocks_guessed"),
            .first_bad_byte = maybe_integer_in<std::uint64_t>(json, "first_bad_byte").value_or(UINT64_MAX),
            .warnings = integer_in<std::uint32_t>(json, "warnings")};
}

} // namespace plate_mend::host
