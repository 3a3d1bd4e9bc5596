#pragma once

#include "record/Record.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include <nlohmann/json.hpp>

// Parts of a record as JSON: what reports and the answers of workers have in common. docs/host-json.md
// describes the fields.

namespace plate_mend::host {

using Json = nlohmann::ordered_json;

// Writing: a text that is empty and a number that is not known become null.

[[nodiscard]] Json text(const std::string& value);

template <typename Number>
[[nodiscard]] Json number(const std::optional<Number>& value) {
    return value ? Json(*value) : Json(nullptr);
}

[[nodiscard]] Json to_json(const Judgement& judgement);

/// Null for a general repair that was not run.
[[nodiscard]] Json to_json(const SalvagedPicture& salvage);

/// As one line of UTF-8. Bytes that are no UTF-8 become U+FFFD.
[[nodiscard]] std::string line_of(const Json& json);

// Reading: a field that is not there is as good as null. All throw nlohmann::json::exception for a value of
// another kind.

[[nodiscard]] const Json& field(const Json& json, const char* name);
[[nodiscard]] std::string text_in(const Json& json, const char* name);
[[nodiscard]] bool truth_in(const Json& json, const char* name);
[[nodiscard]] std::optional<double> maybe_real_in(const Json& json, const char* name);

/// Throws std::out_of_range for a number that the type cannot hold.
template <typename Integer>
[[nodiscard]] std::optional<Integer> maybe_integer_in(const Json& json, const char* name) {
    const Json& value = field(json, name);
    if (value.is_null()) {
        return std::nullopt;
    }
    const bool fits = value.is_number_unsigned()
                          ? std::in_range<Integer>(value.get<std::uint64_t>())
                          : value.is_number_integer() && std::in_range<Integer>(value.get<std::int64_t>());
    if (!fits) {
        throw std::out_of_range(name);
    }
    return value.get<Integer>();
}

template <typename Integer>
[[nodiscard]] Integer integer_in(const Json& json, const char* name) {
    return maybe_integer_in<Integer>(json, name).value_or(0);
}

[[nodiscard]] Judgement judgement_from(const Json& json);
[[nodiscard]] SalvagedPicture salvage_from(const Json& json);

/// A whole record; the picture is left out. Reading throws std::exception for what is no record.
[[nodiscard]] Json to_json(const Record& record);
[[nodiscard]] Record record_from(const Json& json);

} // namespace plate_mend::host
