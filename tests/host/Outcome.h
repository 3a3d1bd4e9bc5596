#pragma once

#include "record/Record.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

// What the program says of damaged photographs, for the tables that compare it with the originals' pixels.

namespace test {

/// The records of a JSON Lines file, in its order. Throws std::bad_optional_access where a line is none.
[[nodiscard]] std::vector<plate_mend::host::Record> read_records(const std::filesystem::path& file);

/// Has the program repair without a word, and returns its records in their order. Throws std::runtime_error
/// where it cannot work at all.
///
///   options  of the command "repair", with what is to be repaired
///   folder   exists; the record file goes there as "records.jsonl"
[[nodiscard]] std::vector<plate_mend::host::Record> repair_all(std::vector<std::string> options,
                                                               const std::filesystem::path& folder);

/// "whole", or "intact" for a file that was left alone.
[[nodiscard]] bool is_called_whole(const plate_mend::host::Record& record);

/// The place of some of the image is a guess: a right guess proves nothing.
[[nodiscard]] bool is_guess(const plate_mend::host::Record& record);

/// The share that is promised of a partial result: of pixels where these are counted, and of rows otherwise.
[[nodiscard]] std::optional<double> promised_share(const plate_mend::host::Record& record);
[[nodiscard]] bool counts_pixels(const plate_mend::host::Record& record);

} // namespace test
