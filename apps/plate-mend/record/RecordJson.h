#pragma once

#include "record/Json.h"
#include "record/Record.h"

#include <optional>
#include <string>
#include <string_view>

// Records, and parts of them, as JSON: in reports, in the record of a run, and in the answers of workers.
// docs/host-json.md describes the fields. Reading throws JsonError for a value of another kind; a missing
// field counts as null, and unknown fields are ignored.

namespace plate_mend::host {

[[nodiscard]] Json to_json(const Judgement& judgement);
[[nodiscard]] Judgement judgement_from(const Json& json);

/// Null for no image.
[[nodiscard]] Json to_json(const std::optional<FoundImage>& image);
[[nodiscard]] std::optional<FoundImage> found_image_from(const Json& json);

/// Null for a general repair that was not run.
[[nodiscard]] Json to_json(const SalvagedPicture& salvage);
[[nodiscard]] SalvagedPicture salvage_from(const Json& json);

/// Null for none.
[[nodiscard]] Json to_json(const std::optional<OwnMetadata>& metadata);
[[nodiscard]] std::optional<OwnMetadata> own_metadata_from(const Json& json);

/// A whole record; the picture is left out. Paths that are not UTF-8 are escaped, without loss.
[[nodiscard]] Json to_json(const Record& record);
/// Throws std::exception for anything that is not a record of this schema.
[[nodiscard]] Record record_from(const Json& json);

/// The record as one line of JSON Lines, without the line break.
[[nodiscard]] std::string to_json_line(const Record& record);
/// The record in a line; nothing if the line is not a complete record of this schema, such as the last line
/// of a run that was killed.
[[nodiscard]] std::optional<Record> from_json_line(std::string_view line);

} // namespace plate_mend::host
