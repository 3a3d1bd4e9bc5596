#pragma once

#include "record/Record.h"

#include <string>
#include <vector>

// What people are told of a file, in words. Nothing is made safe for a page or a terminal; shares are safe.

namespace plate_mend::host {

/// "Canon EOS 5D", "5616 × 3744 pixels", "24.5 MB": what was delivered, and the size of the damaged file.
[[nodiscard]] std::vector<std::string> facts_of(const Record& record);

/// "98.7 % of the pixels are the photograph's own"; empty if no share is known.
[[nodiscard]] std::string share_of(const Record& record);

/// Why the file is not whole, each sign of damage by itself.
[[nodiscard]] std::vector<std::string> findings_of(const Record& record);

/// Where a part of what was delivered comes from: "Image data", "from the damaged file ", "a.arw". Only name
/// and date are from outside.
struct Origin {
    std::string part;
    std::string before;
    std::string name{};
    std::string after{};
    std::string date{}; ///< The end of the sentence.
};
[[nodiscard]] std::vector<Origin> origins_of(const Record& record);

} // namespace plate_mend::host
