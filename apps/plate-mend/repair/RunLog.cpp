#include "repair/RunLog.h"

#include "files/InputFile.h"
#include "text/Text.h"

#include <system_error>

namespace plate_mend::host {

void RunLog::take(const std::filesystem::path& log, const std::string& title) {
    const std::string text = read_small_file(log);
    std::error_code ignored;
    std::filesystem::remove(log, ignored);
    if (!text.empty()) {
        const std::lock_guard lock(mutex_);
        file_.write("== " + printable(title) + '\n' + text);
    }
}

} // namespace plate_mend::host
