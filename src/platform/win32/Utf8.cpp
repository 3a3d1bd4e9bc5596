#include "platform/Utf8.h"

#include <windows.h>

#include <system_error>

namespace plate_mend::platform {

namespace {

[[noreturn]] void throw_last_error() {
    throw std::system_error(static_cast<int>(::GetLastError()), std::system_category());
}

} // namespace

std::wstring native_from_utf8(std::string_view text) {
    const int bytes = static_cast<int>(text.size());
    const int units = ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), bytes, nullptr, 0);
    if (units == 0) {
        throw_last_error();
    }
    std::wstring native(static_cast<std::size_t>(units), L'\0');
    if (::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(), bytes, native.data(), units) == 0) {
        throw_last_error();
    }
    return native;
}

std::string utf8_from_native(const std::wstring& native) {
    if (native.empty()) {
        return {};
    }
    const int units = static_cast<int>(native.size());
    const int bytes = ::WideCharToMultiByte(CP_UTF8, 0, native.data(), units, nullptr, 0, nullptr, nullptr);
    if (bytes == 0) {
        throw_last_error();
    }
    std::string text(static_cast<std::size_t>(bytes), '\0');
    if (::WideCharToMultiByte(CP_UTF8, 0, native.data(), units, text.data(), bytes, nullptr, nullptr) == 0) {
        throw_last_error();
    }
    return text;
}

} // namespace plate_mend::platform
