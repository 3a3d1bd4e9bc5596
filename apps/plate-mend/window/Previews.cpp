#include "window/Previews.h"

#include "files/InputFile.h"
#include "files/SafeOutput.h"
#include "files/WorkingCopy.h"
#include "repair/Workers.h"

#include <exception>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// Somebody is looking at the page and waits.
constexpr unsigned kSeconds = 60;

} // namespace

std::string Previews::preview_of(const fs::path& damaged) {
    const std::lock_guard lock(mutex_);
    try {
        const PrivateFolder folder(fs::temp_directory_path());
        const fs::path copy = folder.path() / "damaged";
        const CopiedFile copied = copy_readable(damaged, copy);
        fs::resize_file(copy, copied.size);
        const Workers workers({program_, kSeconds, LimitOptions().memory_mib << 20U, nullptr});
        const fs::path picture = folder.path() / "picture.jpg";
        const SalvagedPicture found =
            workers.salvage(folder.path(), {copy, folder.path() / "output.jpg", picture, {}});
        return found.code && fs::exists(picture) ? read_small_file(picture) : "";
    } catch (const std::exception&) {
        return "";
    }
}

} // namespace plate_mend::host
