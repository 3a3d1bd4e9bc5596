#include "repair/RunLog.h"

#include "text/Text.h"

#include <fstream>
#include <iterator>
#include <system_error>

namespace plate_mend::host {

void RunLog::take(const std::filesystem::path& log, const std::string& title) {
    std::string text;
    {
        std::ifstream stream(log, std::ios::binary);
        text.assign(std::istreambuf_iterator<char>(stream), {});
    }
    std::error_code ignored;
    std::filesystem::remove(log, ignored);
    if (!text.empty()) {
        const std::lock_guard lock(mutex_);
        file_.write("== " + printable(title) + '\n' + text);
    }
}

} // namespace plate_mend::host
