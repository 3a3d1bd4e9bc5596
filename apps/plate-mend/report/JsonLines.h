#pragma once

#include "record/Record.h"

#include <optional>
#include <string>
#include <string_view>

// Records as JSON Lines, one object a line. docs/host-json.md describes the fields.

namespace plate_mend::host {

/// The record as one line of UTF-8, without the line break. Paths that are no UTF-8 are escaped, without
/// loss; in other texts such bytes become U+FFFD. The picture is left out.
[[nodiscard]] std::string to_json_line(const Record& record);

/// The record of a line; nothing when the line is no whole record of this schema, such as the last line of a
/// run that was cut off. Fields that are not known are passed over.
[[nodiscard]] std::optional<Record> from_json_line(std::string_view line);

} // namespace plate_mend::host
