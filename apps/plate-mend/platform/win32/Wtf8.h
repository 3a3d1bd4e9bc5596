#pragma once

#include <string>
#include <string_view>

namespace plate_mend::host::platform {

/// Wide text as UTF-8; a surrogate without its partner becomes the three bytes that UTF-8 would have for it.
[[nodiscard]] std::string wtf8_from(std::wstring_view wide);

/// The way back. Bytes that no wide text has become U+FFFD, one for each.
[[nodiscard]] std::wstring wide_from(std::string_view bytes);

} // namespace plate_mend::host::platform
