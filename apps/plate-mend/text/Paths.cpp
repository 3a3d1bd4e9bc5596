#include "text/Paths.h"

#include "platform/Names.h"
#include "text/Text.h"

#include <array>
#include <cstddef>

namespace plate_mend::host {

namespace {

constexpr std::string_view kDigits = "0123456789abcdef";
constexpr std::size_t kEscape = 3; // U+0000 and two digits.

} // namespace

std::filesystem::path path_from(const std::string& bytes) {
    return platform::path_of(bytes);
}

std::string utf8_from(const std::filesystem::path& path) {
    return platform::bytes_of(path);
}

std::string escaped_name(std::string_view bytes) {
    std::string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const std::size_t length = length_of_first(bytes);
        if (length != 0) {
            text += bytes.substr(0, length);
        } else {
            const auto value = static_cast<unsigned char>(bytes.front());
            text += {'\0', kDigits[value >> 4], kDigits[value & 0xF]};
        }
        bytes.remove_prefix(length == 0 ? 1 : length);
    }
    return text;
}

std::string unescaped_name(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t at = 0; at < text.size();) {
        const bool escape = text[at] == '\0' && at + kEscape <= text.size();
        const std::size_t high = escape ? kDigits.find(text[at + 1]) : kDigits.npos;
        const std::size_t low = escape ? kDigits.find(text[at + 2]) : kDigits.npos;
        if (high == kDigits.npos || low == kDigits.npos) {
            bytes += text[at++];
        } else {
            bytes += static_cast<char>(high << 4 | low);
            at += kEscape;
        }
    }
    return bytes;
}

} // namespace plate_mend::host
