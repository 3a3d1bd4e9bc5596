#include "window/ClientHead.h"

#include "text/Text.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

namespace plate_mend::host {

namespace {

constexpr int kBadRequest = 400;
constexpr int kTooLarge = 431;

/// Nothing that would let a client choose codings, parts, or several requests on one connection.
constexpr std::array<std::string_view, 6> kLetThrough = {"host",           "origin",         "cookie",
                                                         "content-length", "sec-fetch-site", "x-plate-mend"};

bool is_control_character(char letter) {
    const auto value = static_cast<unsigned char>(letter);
    return value < 0x20 || value == 0x7F;
}

} // namespace

CleanHead clean_head(const std::string& head, const HttpLimits& limits) {
    constexpr std::string_view kEnd = "\r\n";
    std::string clean;
    std::set<std::string> seen;
    std::size_t lines = 0;
    std::string_view rest = head;
    while (!rest.empty()) {
        const std::size_t length = rest.find(kEnd);
        if (length == std::string_view::npos) {
            return {"", kBadRequest};
        }
        const std::string_view line = rest.substr(0, length);
        rest.remove_prefix(length + kEnd.size());
        if (std::any_of(line.begin(), line.end(), is_control_character)) {
            return {"", kBadRequest};
        }
        if (lines++ == 0) {
            clean = std::string(line) + "\r\n";
            continue;
        }
        if (line.empty()) {
            break;
        }
        if (lines > limits.headers + 1) {
            return {"", kTooLarge};
        }
        const std::size_t colon = line.find(':');
        const std::string name = lower(line.substr(0, colon));
        if (colon == std::string_view::npos || colon == 0 || line.front() == ' ') {
            return {"", kBadRequest};
        }
        if (std::find(kLetThrough.begin(), kLetThrough.end(), name) != kLetThrough.end()) {
            if (!seen.insert(name).second) {
                return {"", kBadRequest};
            }
            clean += std::string(line) + "\r\n";
        }
    }
    if (!seen.contains("content-length")) {
        clean += "Content-Length: 0\r\n"; // Otherwise the body would last until the client closes.
    }
    return {clean + "\r\n", 0};
}

} // namespace plate_mend::host
