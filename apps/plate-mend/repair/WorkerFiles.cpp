#include "repair/WorkerFiles.h"

#include "files/InputFile.h"
#include "platform/Files.h"

namespace plate_mend::host {

void write_json(const std::filesystem::path& file, const Json& json) {
    std::filesystem::remove(file);
    const std::string line = json.line();
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
    platform::NewFile(file).write(reinterpret_cast<const unsigned char*>(line.data()), line.size());
}

Json read_json(const std::filesystem::path& file) {
    return Json::parse(read_small_file(file));
}

} // namespace plate_mend::host
