#pragma once

#include "record/Record.h"

#include <string>

// Records as a table of comma-separated values (RFC 4180): fields with a comma, a quote or a line break stand
// in quotes, quotes in them are doubled, lines end with CR LF.
//
// A text that begins with = + - @, a tab or CR gets an apostrophe in front, since spreadsheets would run it
// as a formula: a name can be made to. Whoever reads paths by machine takes JSON Lines instead. Numbers are
// left alone, also negative ones.

namespace plate_mend::host {

/// The first line, with its line break.
[[nodiscard]] std::string csv_header();

/// The record's line, with its line break. What is not known is an empty field. Sample and picture are those
/// of the attempt that was taken, or else of the last that gave a code.
[[nodiscard]] std::string csv_row(const Record& record);

} // namespace plate_mend::host
