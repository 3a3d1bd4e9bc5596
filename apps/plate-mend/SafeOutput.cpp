#include "SafeOutput.h"

#include <random>
#include <stdexcept>
#include <system_error>

namespace plate_mend::host {

namespace fs = std::filesystem;

fs::path path_from(const std::string& utf8) {
    return fs::path(std::u8string(utf8.begin(), utf8.end()));
}

std::string utf8_from(const fs::path& path) {
    const std::u8string text = path.u8string();
    return {text.begin(), text.end()};
}

std::optional<std::string> refuse_output(const fs::path& output, const std::vector<fs::path>& inputs,
                                         bool force) {
    for (const fs::path& input : inputs) {
        if (!fs::is_regular_file(input)) {
            return utf8_from(input) + ": no such file";
        }
        if (fs::exists(output) && fs::equivalent(output, input)) {
            return utf8_from(output) + ": the output is also an input";
        }
    }
    if (fs::is_directory(output)) {
        return utf8_from(output) + ": the output is a folder; name a file";
    }
    if (fs::exists(output) && !force) {
        return utf8_from(output) + ": exists already; --force replaces it";
    }
    return std::nullopt;
}

PrivateFolder::PrivateFolder(const fs::path& beside) {
    std::random_device random;
    do {
        path_ = fs::absolute(beside).parent_path() / (".plate-mend-" + std::to_string(random()));
    } while (!fs::create_directory(path_)); // False where the name is taken.
    fs::permissions(path_, fs::perms::owner_all);
}

PrivateFolder::~PrivateFolder() {
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

void deliver(const fs::path& made, const fs::path& output, bool force) {
    if (fs::is_directory(output) || (fs::exists(output) && !force)) {
        throw std::runtime_error(utf8_from(output) + " was made by somebody else meanwhile");
    }
    fs::rename(made, output);
}

} // namespace plate_mend::host
