#include "platform/Utf8.h"

#include <cstddef>
#include <system_error>

namespace plate_mend::platform {

namespace {

// Well-formed sequences (Unicode, table 3-7). Every later trail byte is 80..BF.
//
//   lead      length  first trail byte
//   00..7F    1
//   C2..DF    2       80..BF
//   E0        3       A0..BF   (no overlong forms)
//   E1..EC    3       80..BF
//   ED        3       80..9F   (no surrogates)
//   EE..EF    3       80..BF
//   F0        4       90..BF   (no overlong forms)
//   F1..F3    4       80..BF
//   F4        4       80..8F   (nothing above 10FFFF)

std::size_t sequence_length(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead <= 0xDF) {
        return 2;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        return 4;
    }
    return 0;
}

bool is_first_trail(unsigned char lead, unsigned char trail) {
    const unsigned char low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const unsigned char high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    return trail >= low && trail <= high;
}

/// The length of the well-formed sequence at the beginning of the text, 0 if there is none.
std::size_t well_formed_prefix(std::string_view text) {
    const auto byte = [text](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const std::size_t length = sequence_length(byte(0));
    if (length == 0 || length > text.size()) {
        return 0;
    }
    if (length > 1 && !is_first_trail(byte(0), byte(1))) {
        return 0;
    }
    for (std::size_t index = 2; index < length; ++index) {
        if (byte(index) < 0x80 || byte(index) > 0xBF) {
            return 0;
        }
    }
    return length;
}

} // namespace

std::string native_from_utf8(std::string_view text) {
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t length = well_formed_prefix(rest);
        if (length == 0) {
            throw std::system_error(std::make_error_code(std::errc::illegal_byte_sequence));
        }
        rest.remove_prefix(length);
    }
    return std::string(text);
}

std::string utf8_from_native(const std::string& native) {
    return native;
}

} // namespace plate_mend::platform
