#include "repair/WorkerFiles.h"

#include "files/InputFile.h"
#include "platform/Files.h"

namespace plate_mend::host {

namespace {

/// File systems are slow to create files where many have just been removed, so one that is there is
/// overwritten. It is never empty in between: of a file that was, Linux writes what comes next to the disk at
/// once.
void overwrite(const std::filesystem::path& file, const std::string& text) {
    platform::NewFile opened =
        platform::is_taken(file) ? platform::open_to_append(file) : platform::NewFile(file);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
    opened.write_at(0, reinterpret_cast<const unsigned char*>(text.data()), text.size());
    opened.resize(text.size());
}

} // namespace

void write_json(const std::filesystem::path& file, const Json& json) {
    overwrite(file, json.line());
}

void forget_json(const std::filesystem::path& file) {
    if (platform::is_taken(file)) {
        overwrite(file, " ");
    }
}

Json read_json(const std::filesystem::path& file) {
    return Json::parse(read_small_file(file));
}

} // namespace plate_mend::host
