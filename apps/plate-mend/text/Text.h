#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Text from outside, such as file names, prepared for display.

namespace plate_mend::host {

/// The number of bytes of the first character of a text that is not empty; 0 if no character begins there.
[[nodiscard]] std::size_t length_of_first(std::string_view text);

/// The text as well-formed UTF-8: each byte that belongs to no character becomes U+FFFD.
[[nodiscard]] std::string well_formed(std::string_view text);

/// The text with each of some ASCII letters replaced: the first of them by the first text, and so on.
[[nodiscard]] std::string replace_letters(std::string_view text, std::string_view letters,
                                          const std::vector<std::string>& by);

/// The text with ASCII letters alone in upper or in lower case, whatever the locale.
[[nodiscard]] std::string upper(std::string_view text);
[[nodiscard]] std::string lower(std::string_view text);

/// The text with a space for each line break.
[[nodiscard]] std::string on_one_line(std::string text);

/// The text for one line of a terminal: well-formed, and each control character becomes '?', and so does each
/// character that changes the direction of writing.
[[nodiscard]] std::string printable(std::string_view text);

/// Terminal columns that a well-formed text takes: two for wide East Asian characters and pictograms, none
/// for combining marks.
[[nodiscard]] std::size_t columns_of(std::string_view text);

/// A well-formed text cut to at most that many columns: its middle is replaced by "...". With fewer than four
/// columns, only the beginning is kept.
[[nodiscard]] std::string cut_to_columns(std::string_view text, std::size_t columns);

} // namespace plate_mend::host
