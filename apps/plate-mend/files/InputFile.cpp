#include "files/InputFile.h"

#include "files/Failures.h"
#include "platform/Files.h"

#include <fstream>
#include <iterator>
#include <system_error>

namespace plate_mend::host {

bool is_there(const std::filesystem::path& path) {
    try {
        return platform::stamp_of(path).has_value();
    } catch (const std::system_error& e) {
        throw MachineFailure("cannot be read", e.code());
    }
}

std::string read_small_file(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

} // namespace plate_mend::host
