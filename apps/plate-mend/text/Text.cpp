#include "text/Text.h"

#include <algorithm>
#include <array>

namespace plate_mend::host {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

/// A character and the bytes it takes.
struct Character {
    char32_t value = kReplacement;
    std::size_t length = 1;
};

unsigned char byte_at(std::string_view text, std::size_t index) {
    return static_cast<unsigned char>(text[index]);
}

/// The first character of a text that is not empty; the replacement character and one byte if there is none.
Character first_of(std::string_view text) {
    const unsigned char lead = byte_at(text, 0);
    if (lead < 0x80) {
        return {lead, 1};
    }
    struct Form {
        unsigned char mask;
        unsigned char lead;
        std::size_t length;
        char32_t least;
    };
    constexpr std::array<Form, 3> kForms = {
        {{0xE0, 0xC0, 2, 0x80}, {0xF0, 0xE0, 3, 0x800}, {0xF8, 0xF0, 4, 0x10000}}};
    for (const Form& form : kForms) {
        if ((lead & form.mask) != form.lead) {
            continue;
        }
        if (text.size() < form.length) {
            return {};
        }
        char32_t value = lead & static_cast<unsigned char>(~form.mask);
        for (std::size_t index = 1; index < form.length; ++index) {
            if ((byte_at(text, index) & 0xC0) != 0x80) {
                return {};
            }
            value = value << 6 | (byte_at(text, index) & 0x3F);
        }
        const bool surrogate = value >= 0xD800 && value < 0xE000;
        return value < form.least || value > 0x10FFFF || surrogate ? Character{}
                                                                   : Character{value, form.length};
    }
    return {};
}

constexpr const char* kReplacementText = "\xEF\xBF\xBD";

bool is_replaced(const Character& character) {
    return character.value == kReplacement && character.length == 1;
}

struct Range {
    char32_t first;
    char32_t last;
};

template <std::size_t Count>
bool is_in(const std::array<Range, Count>& ranges, char32_t value) {
    return std::any_of(ranges.begin(), ranges.end(),
                       [value](const Range& range) { return value >= range.first && value <= range.last; });
}

bool is_control(char32_t value) {
    // C0 and C1, line and paragraph separators, marks that turn the direction.
    constexpr std::array<Range, 5> kControl = {
        {{0, 0x1F}, {0x7F, 0x9F}, {0x200E, 0x200F}, {0x2028, 0x202E}, {0x2066, 0x2069}}};
    return is_in(kControl, value);
}

std::size_t columns_of(char32_t value) {
    constexpr std::array<Range, 4> kNone = {
        {{0x300, 0x36F}, {0x200B, 0x200D}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}}};
    constexpr std::array<Range, 9> kWide = {{{0x1100, 0x115F},
                                             {0x2E80, 0xA4CF},
                                             {0xAC00, 0xD7A3},
                                             {0xF900, 0xFAFF},
                                             {0xFE30, 0xFE6F},
                                             {0xFF00, 0xFF60},
                                             {0xFFE0, 0xFFE6},
                                             {0x1F300, 0x1FAFF},
                                             {0x20000, 0x3FFFD}}};
    if (is_in(kNone, value)) {
        return 0;
    }
    return is_in(kWide, value) ? 2 : 1;
}

/// Calls visit(character, its bytes) for each character of the text.
template <typename Visit>
void for_each_character(std::string_view text, Visit visit) {
    while (!text.empty()) {
        const Character character = first_of(text);
        visit(character, text.substr(0, character.length));
        text.remove_prefix(character.length);
    }
}

} // namespace

std::size_t length_of_first(std::string_view text) {
    const Character character = first_of(text);
    return is_replaced(character) ? 0 : character.length;
}

std::string well_formed(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for_each_character(text, [&result](const Character& character, std::string_view bytes) {
        result += is_replaced(character) ? std::string_view(kReplacementText) : bytes;
    });
    return result;
}

std::string replace_letters(std::string_view text, std::string_view letters,
                            const std::vector<std::string>& by) {
    std::string result;
    for (const char letter : text) {
        const std::size_t found = letters.find(letter);
        result += found == letters.npos ? std::string(1, letter) : by.at(found);
    }
    return result;
}

std::string upper(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char letter) {
        return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - ('a' - 'A')) : letter;
    });
    return result;
}

std::string lower(std::string_view text) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter + ('a' - 'A')) : letter;
    });
    return result;
}

std::string on_one_line(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

std::string printable(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for_each_character(text, [&result](const Character& character, std::string_view bytes) {
        if (is_replaced(character)) {
            result += kReplacementText;
        } else {
            result += is_control(character.value) ? std::string_view("?") : bytes;
        }
    });
    return result;
}

std::size_t columns_of(std::string_view text) {
    std::size_t columns = 0;
    for_each_character(text, [&columns](const Character& character, std::string_view /*bytes*/) {
        columns += columns_of(character.value);
    });
    return columns;
}

std::string cut_to_columns(std::string_view text, std::size_t columns) {
    constexpr std::string_view kGap = "...";
    const std::size_t all = columns_of(text);
    if (all <= columns) {
        return std::string(text);
    }
    const bool gap = columns > kGap.size();
    const std::size_t room = gap ? columns - kGap.size() : columns;
    const std::size_t head = gap ? room / 2 : room;
    const std::size_t tail = room - head;
    std::string front;
    std::string back;
    std::size_t column = 0;
    for_each_character(text, [&](const Character& character, std::string_view bytes) {
        const std::size_t width = columns_of(character.value);
        if (column + width <= head) {
            front += bytes;
        } else if (column >= all - tail) {
            back += bytes;
        }
        column += width;
    });
    return front + (gap ? std::string(kGap) : "") + back;
}

} // namespace plate_mend::host
