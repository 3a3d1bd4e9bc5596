#include "repair/WorkerFiles.h"

#include "files/InputFile.h"
#include "platform/Files.h"

namespace plate_mend::host {

namespace {

/// File systems are slow to create files where many have just been removed, so one that is there is emptied.
platform::NewFile open_empty(const std::filesystem::path& file) {
    if (!platform::is_taken(file)) {
        return platform::NewFile(file);
    }
    platform::NewFile opened = platform::open_to_append(file);
    opened.resize(0);
    return opened;
}

} // namespace

void write_json(const std::filesystem::path& file, const Json& json) {
    const std::string line = json.line();
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
    open_empty(file).write(reinterpret_cast<const unsigned char*>(line.data()), line.size());
}

void forget_json(const std::filesystem::path& file) {
    if (platform::is_taken(file)) {
        static_cast<void>(open_empty(file));
    }
}

Json read_json(const std::filesystem::path& file) {
    return Json::parse(read_small_file(file));
}

} // namespace plate_mend::host
