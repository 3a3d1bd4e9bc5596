#include "cli/FileCommands.h"

#include "files/Failures.h"
#include "files/SafeOutput.h"
#include "platform/Interrupt.h"
#include "repair/Workers.h"
#include "report/Notes.h"
#include "run/ExitStatus.h"

#include <algorithm>
#include <exception>
#include <system_error>

namespace plate_mend::host {

namespace fs = std::filesystem;

int fail(const std::string& message) {
    complain(message);
    return kSomePartial;
}

int run_for_file(const std::string& file, const std::function<int()>& command) {
    try {
        return command();
    } catch (const Interrupted&) {
        return kInterrupted;
    } catch (const std::exception& e) {
        complain(file + ": " + describe_error(e));
        return kSomeNotDone;
    }
}

int run_for_each_file(const std::vector<std::string>& files, const LimitOptions& limits,
                      const fs::path& program, const FileCommand& command) {
    platform::remember_interrupts();
    Notes notes;
    const Workers workers({program, limits.seconds, limits.memory_mib << 20U, &notes});
    int status = kAllWhole;
    std::error_code none;
    clear_stale_folders(fs::temp_directory_path(none));
    for (const std::string& file : files) {
        const int one = run_for_file(file, [&] {
            const PrivateFolder folder(fs::temp_directory_path());
            return command(file, workers, folder.path());
        });
        if (one == kInterrupted) {
            return one;
        }
        status = std::max(status, one);
    }
    return status;
}

} // namespace plate_mend::host
