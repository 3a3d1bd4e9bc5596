#include "report/Markup.h"

#include "text/Paths.h"
#include "text/Text.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// The names of a path with slashes between them.
std::string address_of(const fs::path& path) {
    std::string address;
    for (const fs::path& name : path) {
        if (!address.empty()) {
            address += '/';
        }
        address += percent_encoded(utf8_from(name));
    }
    return address;
}

/// The whole path without dots. A browser drops ".." with the name before it, even where that is a link.
fs::path plain_path(const fs::path& path) {
    std::error_code error;
    const fs::path whole = fs::absolute(path, error);
    const bool climbs = std::find(whole.begin(), whole.end(), "..") != whole.end();
    const fs::path followed = climbs ? fs::weakly_canonical(whole, error) : fs::path();
    return followed.empty() ? whole.lexically_normal() : followed;
}

/// "file:///D:/a.arw", "file://server/share/a.arw".
std::string absolute_address(const fs::path& path) {
    std::string root = utf8_from(path.root_name());
    std::replace(root.begin(), root.end(), '\\', '/');
    const bool is_server = root.rfind("//", 0) == 0;
    return (is_server      ? "file:"
            : root.empty() ? "file://"
                           : "file:///") +
           root + '/' + address_of(path.relative_path());
}

} // namespace

std::string escape(std::string_view text) {
    return replace_letters(printable(text), "&<>\"'", {"&amp;", "&lt;", "&gt;", "&quot;", "&#39;"});
}

std::string base64(std::string_view bytes) {
    constexpr const char* kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string result;
    result.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t index = 0; index < bytes.size(); index += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - index);
        std::uint32_t group = 0;
        for (std::size_t place = 0; place < 3; ++place) {
            const auto byte = place < count ? static_cast<unsigned char>(bytes[index + place]) : 0U;
            group = group << 8 | byte;
        }
        for (std::size_t place = 0; place < 4; ++place) {
            result += place <= count ? kLetters[group >> (18 - 6 * place) & 0x3F] : '=';
        }
    }
    return result;
}

std::string percent_encoded(std::string_view name) {
    constexpr std::string_view kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    constexpr const char* kHexadecimal = "0123456789ABCDEF";
    std::string text;
    for (const char letter : name) {
        if (kPlain.find(letter) != std::string_view::npos) {
            text += letter;
        } else {
            const auto byte = static_cast<unsigned char>(letter);
            text += {'%', kHexadecimal[byte >> 4U], kHexadecimal[byte & 0xFU]};
        }
    }
    return text;
}

Links::Links(const fs::path& folder) : folder_(plain_path(folder)) {}

std::string Links::to(const std::string& file) const {
    const fs::path whole = plain_path(path_from(file));
    const fs::path relative = whole.lexically_relative(folder_);
    return relative.empty() ? absolute_address(whole) : address_of(relative);
}

} // namespace plate_mend::host
