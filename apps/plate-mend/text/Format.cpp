#include "text/Format.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

namespace plate_mend::host {

std::string format_count(std::uint64_t count, const std::string& noun) {
    return std::to_string(count) + ' ' + noun + (count == 1 ? "" : "s");
}

std::string format_size(std::uint64_t bytes) {
    if (bytes < 1000) {
        return format_count(bytes, "byte");
    }
    constexpr std::array kUnits = {" kB", " MB", " GB", " TB", " PB", " EB"};
    double value = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    while (value >= 999.95 && unit + 1 < kUnits.size()) {
        value /= 1000;
        ++unit;
    }
    return format_decimal(value, 1) + kUnits.at(unit);
}

std::string format_share(double share) {
    if (!(share > 0)) {
        return "0 %";
    }
    if (share >= 1) {
        return "100 %";
    }
    constexpr double kInexact = 1e-6; // 0.57 * 1000 is less than 570.
    return format_decimal(std::clamp(std::floor(share * 1000 + kInexact), 1.0, 999.0) / 10, 1) + " %";
}

std::string format_decimal(double value, int digits) {
    std::array<char, 64> buffer{};
    const auto end =
        std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, std::chars_format::fixed, digits);
    return end.ec == std::errc() ? std::string(buffer.data(), end.ptr) : std::string();
}

std::string join(const std::vector<std::string>& parts, const std::string& separator) {
    std::string result;
    for (const std::string& part : parts) {
        result += (&part == &parts.front() ? "" : separator) + part;
    }
    return result;
}

} // namespace plate_mend::host
