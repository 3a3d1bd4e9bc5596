#include "api/Extension.h"

#include <algorithm>
#include <cctype>

namespace plate_mend {

std::string lower_case_extension(const std::string& utf8_path) {
    const auto dot = utf8_path.rfind('.');
    if (dot == std::string::npos) {
        return {};
    }
    std::string extension = utf8_path.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
    return extension;
}

} // namespace plate_mend
