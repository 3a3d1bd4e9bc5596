#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

// What the numbers of the two libraries mean, and what to try next.

namespace plate_mend::host {

/// Where a number comes from.
enum class CodeSource {
    kAny,     ///< Every function, for success.
    kStart,   ///< The start of the log.
    kRepair,  ///< The advanced repair, with a sample.
    kSalvage, ///< The general repair, of the damaged file alone.
    kWarning, ///< A bit of StillMendReport.warnings.
};

/// A constant of a public header, explained.
struct CodeEntry {
    std::int32_t code;
    const char* name; ///< As in the public header.
    CodeSource source;
    const char* meaning; ///< Without a capital letter and without a full stop.
    const char* next;    ///< What to try next, likewise; may be empty.
};

/// Every constant of both public headers, in their order.
[[nodiscard]] const std::vector<CodeEntry>& all_codes();

/// What a code of the advanced repair means and what to try next, with the number at the end.
[[nodiscard]] std::string explain_repair(std::int32_t code);

/// The same for a code of the general repair.
[[nodiscard]] std::string explain_salvage(std::int32_t code);

/// Everything about a number ("-1124") or a name ("PLATE_MEND_ARW_NOT_FOUND", in any case), in lines that end
/// with a line break. Small numbers mean something else in each library; both meanings are included. Empty
/// for an unknown code.
[[nodiscard]] std::string explain(std::string_view code);

} // namespace plate_mend::host
