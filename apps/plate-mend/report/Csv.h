#pragma once

#include "record/Record.h"

#include <string>

// Records as a table of comma-separated values (RFC 4180): fields with a comma, a quote or a line break are
// quoted, quotes in them are doubled, lines end with CR LF.
//
// A text that begins with = + - @, a tab or CR gets an apostrophe before it, since spreadsheets would run it
// as a formula, and a file name can be one. Programs that read paths should use JSON Lines instead. Numbers
// stay as they are, even negative ones.

namespace plate_mend::host {

/// The first line, with its line break.
[[nodiscard]] std::string csv_header();

/// The record's line, with its line break. What is not known is an empty field. Sample and picture are those
/// of the attempt that was chosen, or else of the last one with a code.
[[nodiscard]] std::string csv_row(const Record& record);

} // namespace plate_mend::host
