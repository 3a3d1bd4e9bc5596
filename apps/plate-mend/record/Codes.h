#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// What the numbers of the libraries mean, and what to try next.

namespace plate_mend::host {

/// Where a number comes from.
enum class CodeSource {
    kAny,       ///< Every function, for success.
    kStart,     ///< The start of the log.
    kRepair,    ///< The advanced repair, with a sample.
    kRawRepair, ///< The raw engine, with a sample.
    kWay,       ///< RawMendReport.way.
    kNote,      ///< A bit of RawMendReport.notes.
    kSalvage,   ///< The general repair, of the damaged file alone.
    kWarning,   ///< A bit of StillMendReport.warnings.
};

/// A constant of a public header, explained.
struct CodeEntry {
    std::int32_t code;
    const char* name; ///< As in the public header.
    CodeSource source;
    const char* meaning; ///< Without a capital letter and without a full stop.
    const char* next;    ///< What to try next, likewise; may be empty.
};

/// Every constant of the public headers that a report may show, in their order.
[[nodiscard]] const std::vector<CodeEntry>& all_codes();

/// What a code of the advanced repair means and what to try next, with the number at the end.
[[nodiscard]] std::string explain_repair(std::int32_t code);

/// The same for a code of either engine, by its name in records.
[[nodiscard]] std::string explain_attempt(const std::string& engine, std::int32_t code);

/// The same for a code of the general repair.
[[nodiscard]] std::string explain_salvage(std::int32_t code);

/// How an image was found, RawMendReport.way, as one or two words for JSON; "none" for an unknown number.
[[nodiscard]] const char* name_of_way(std::uint32_t way);
/// The way with this name; RAW_MEND_WAY_NONE for any other text.
[[nodiscard]] std::uint32_t way_from_name(std::string_view name);

/// How an image was found, in words: "by how its rows fit one another".
[[nodiscard]] const char* explain_way(std::uint32_t way);

/// The bits of a warning or a note in words: one line for each that is set.
///
///   source  kWarning or kNote
[[nodiscard]] std::vector<std::string> explain_bits(std::uint32_t bits, CodeSource source);

/// Everything about a number ("-1124") or a name ("PLATE_MEND_ARW_NOT_FOUND", in any case), in lines that end
/// with a line break. Small numbers mean something else in each library; all meanings are included. Empty
/// for an unknown code.
[[nodiscard]] std::string explain(std::string_view code);

} // namespace plate_mend::host
