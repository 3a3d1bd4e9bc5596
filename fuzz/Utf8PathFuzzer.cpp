#include "Harness.h"

#include "util/Utf8Path.h"

#include <system_error>

// A path is accepted exactly when its bytes are well-formed UTF-8, and is returned as the same bytes.

namespace {

/// By the decoded numbers: each must be a Unicode scalar value in its shortest form.
bool is_well_formed(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const auto lead = static_cast<unsigned char>(text[at]);
        std::size_t trails = 0;
        std::uint32_t number = lead;
        std::uint32_t smallest = 0;
        if (lead >= 0xF0 && lead <= 0xF7) {
            trails = 3;
            number = lead & 0x07U;
            smallest = 0x10000;
        } else if (lead >= 0xE0) {
            trails = 2;
            number = lead & 0x0FU;
            smallest = 0x800;
        } else if (lead >= 0xC0) {
            trails = 1;
            number = lead & 0x1FU;
            smallest = 0x80;
        } else if (lead >= 0x80) {
            return false;
        }
        if (lead >= 0xF8 || text.size() - at <= trails) {
            return false;
        }
        for (std::size_t index = 1; index <= trails; ++index) {
            const auto trail = static_cast<unsigned char>(text[at + index]);
            if ((trail & 0xC0U) != 0x80) {
                return false;
            }
            number = number << 6U | (trail & 0x3FU);
        }
        if (number < smallest || number > 0x10FFFF || (number >= 0xD800 && number <= 0xDFFF)) {
            return false;
        }
        at += 1 + trails;
    }
    return true;
}

std::string complaint(const std::string& text) {
    bool taken = true;
    std::string back;
    try {
        back = plate_mend::util::utf8_from_path(plate_mend::util::path_from_utf8(text.c_str()));
    } catch (const std::system_error&) {
        taken = false;
    }
    if (taken != is_well_formed(text)) {
        return taken ? "ill-formed text is accepted" : "well-formed text is refused";
    }
    return taken && back != text ? "the path is returned as other bytes" : "";
}

} // namespace

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Up to the first NUL, as in the interface.
    const std::string text(reinterpret_cast<const char*>(data), size);
    fuzz::stop_on(complaint(text.substr(0, text.find('\0'))));
    return 0;
}
