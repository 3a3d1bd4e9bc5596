#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Numbers and lists as text, in the same form everywhere and whatever the locale.

namespace plate_mend::host {

/// "1 byte", "2 bytes", "0 bytes": a number with its noun, whose plural ends in s.
[[nodiscard]] std::string format_count(std::uint64_t count, const std::string& noun);

/// "24.5 MB", in powers of 1000; "812 bytes" below 1000.
[[nodiscard]] std::string format_size(std::uint64_t bytes);

/// A share of 0 to 1 as "98.7 %", cut down. Only a full share is "100 %", only none at all is "0 %".
[[nodiscard]] std::string format_share(double share);

/// A number with this many digits after the decimal point. Empty for one that takes more than 64 characters.
[[nodiscard]] std::string format_decimal(double value, int digits);

/// "a; b; c".
[[nodiscard]] std::string join(const std::vector<std::string>& parts, const std::string& separator = "; ");

} // namespace plate_mend::host
