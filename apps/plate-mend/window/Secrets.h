#pragma once

#include <string>
#include <string_view>

namespace plate_mend::host {

/// 256 random bits as 64 hexadecimal digits. Throws std::system_error.
[[nodiscard]] std::string new_secret();

/// Whether a text is the secret. Takes as long for any text of the same length.
[[nodiscard]] bool is_secret(std::string_view text, std::string_view secret);

} // namespace plate_mend::host
