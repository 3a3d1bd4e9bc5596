#include "util/Utf8Path.h"

#include "platform/Utf8.h"

#include <limits>
#include <string_view>
#include <system_error>

namespace plate_mend::util {

std::filesystem::path path_from_utf8(const char* text) {
    const std::string_view bytes(text);
    if (bytes.empty()) {
        return {};
    }
    if (bytes.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        throw std::system_error(std::make_error_code(std::errc::value_too_large));
    }
    return platform::native_from_utf8(bytes);
}

std::string utf8_from_path(const std::filesystem::path& path) {
    return platform::utf8_from_native(path.native());
}

} // namespace plate_mend::util
