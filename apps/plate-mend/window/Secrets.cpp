#include "window/Secrets.h"

#include "platform/Random.h"

#include <array>
#include <cstddef>

namespace plate_mend::host {

std::string new_secret() {
    constexpr std::string_view kDigits = "0123456789abcdef";
    std::array<unsigned char, 32> bytes{};
    platform::fill_with_random(bytes);
    std::string text;
    for (const unsigned char byte : bytes) {
        text += {kDigits[byte >> 4U], kDigits[byte & 0xFU]};
    }
    return text;
}

bool is_secret(std::string_view text, std::string_view secret) {
    if (text.size() != secret.size() || secret.empty()) {
        return false;
    }
    unsigned difference = 0;
    for (std::size_t index = 0; index < secret.size(); ++index) {
        difference |= static_cast<unsigned char>(text[index]) ^ static_cast<unsigned char>(secret[index]);
    }
    return difference == 0;
}

} // namespace plate_mend::host
