#include "platform/win32/Wtf8.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace plate_mend::host::platform {

namespace {

static_assert(sizeof(wchar_t) == 2);

constexpr std::uint32_t kFirstHigh = 0xD800;
constexpr std::uint32_t kFirstLow = 0xDC00;
constexpr std::uint32_t kAfterLow = 0xE000;
constexpr std::uint32_t kFirstPair = 0x10000;
constexpr std::uint32_t kLast = 0x10FFFF;
constexpr wchar_t kReplacement = 0xFFFD;

bool is_high(std::uint32_t unit) {
    return unit >= kFirstHigh && unit < kFirstLow;
}

bool is_low(std::uint32_t unit) {
    return unit >= kFirstLow && unit < kAfterLow;
}

char byte_of(std::uint32_t value) {
    return static_cast<char>(static_cast<unsigned char>(value));
}

/// The six bits of a character from a shift on, as a byte after the first.
char trail(std::uint32_t point, unsigned shift) {
    return byte_of(0x80U | (point >> shift & 0x3FU));
}

void append(std::string& text, std::uint32_t point) {
    if (point < 0x80) {
        text += byte_of(point);
    } else if (point < 0x800) {
        text += {byte_of(0xC0U | point >> 6U), trail(point, 0)};
    } else if (point < kFirstPair) {
        text += {byte_of(0xE0U | point >> 12U), trail(point, 6), trail(point, 0)};
    } else {
        text += {byte_of(0xF0U | point >> 18U), trail(point, 12), trail(point, 6), trail(point, 0)};
    }
}

void append(std::wstring& text, std::uint32_t point) {
    if (point < kFirstPair) {
        text += static_cast<wchar_t>(point);
    } else {
        text += static_cast<wchar_t>(kFirstHigh + ((point - kFirstPair) >> 10U));
        text += static_cast<wchar_t>(kFirstLow + ((point - kFirstPair) & 0x3FFU));
    }
}

/// How many bytes a character has by its first; 0 for a byte that is never first.
std::size_t length_by(unsigned char first) {
    return first < 0x80 ? 1 : first < 0xC2 ? 0 : first < 0xE0 ? 2 : first < 0xF0 ? 3 : first < 0xF5 ? 4 : 0;
}

/// A character and its bytes; no bytes where there is none.
struct Character {
    std::uint32_t point = 0;
    std::size_t length = 0;
};

Character first_character(std::string_view bytes) {
    const auto first = static_cast<unsigned char>(bytes.front());
    const std::size_t length = length_by(first);
    if (length == 0 || length > bytes.size()) {
        return {};
    }
    constexpr std::array<std::uint32_t, 5> kMasks{0, 0x7F, 0x1F, 0x0F, 0x07};
    constexpr std::array<std::uint32_t, 5> kLeast{0, 0, 0x80, 0x800, kFirstPair};
    std::uint32_t point = first & kMasks[length];
    for (const char byte : bytes.substr(1, length - 1)) {
        const auto value = static_cast<unsigned char>(byte);
        if ((value & 0xC0U) != 0x80U) {
            return {};
        }
        point = point << 6U | (value & 0x3FU);
    }
    return point < kLeast[length] || point > kLast ? Character{} : Character{point, length};
}

} // namespace

std::string wtf8_from(std::wstring_view wide) {
    std::string text;
    text.reserve(wide.size());
    for (std::size_t index = 0; index < wide.size(); ++index) {
        const std::uint32_t unit = wide[index];
        if (is_high(unit) && index + 1 < wide.size() && is_low(wide[index + 1])) {
            ++index;
            append(text, kFirstPair + ((unit - kFirstHigh) << 10U) + (wide[index] - kFirstLow));
        } else {
            append(text, unit);
        }
    }
    return text;
}

std::wstring wide_from(std::string_view bytes) {
    std::wstring text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const Character character = first_character(bytes);
        if (character.length == 0) {
            text += kReplacement;
            bytes.remove_prefix(1);
        } else {
            append(text, character.point);
            bytes.remove_prefix(character.length);
        }
    }
    return text;
}

} // namespace plate_mend::host::platform
