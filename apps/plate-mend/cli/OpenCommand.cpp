#include "cli/OpenCommand.h"

#include "files/Failures.h"
#include "platform/Interrupt.h"
#include "report/Notes.h"
#include "run/ExitStatus.h"
#include "text/Paths.h"
#include "text/Text.h"
#include "window/WindowServer.h"

#include <iostream>
#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

int open_window(const OpenOptions& options, const fs::path& program, const Desktop& desktop) {
    WindowSettings settings{.program = program, .damaged = {}, .open_path = desktop.open_path};
    if (!options.folder.empty()) {
        settings.damaged = fs::absolute(path_from(options.folder)).lexically_normal();
        if (std::error_code none; !fs::is_directory(settings.damaged, none)) {
            complain(options.folder + ": no such folder");
            return kUsage;
        }
    }
    platform::remember_interrupts();
    const WindowServer window(std::move(settings));
    std::cout << "plate-mend is open at " << window.address() << "\nCtrl-C ends it.\n" << std::flush;
    if (!options.no_browser && !desktop.open_address(window.address())) {
        complain("no browser could be started; open the address above in one");
    }
    return window.wait() == WindowServer::End::kByUser ? kInterrupted : kAllWhole;
}

} // namespace

int run_open(const OpenOptions& options, const fs::path& program, const Desktop& desktop) {
    try {
        return open_window(options, program, desktop);
    } catch (const std::exception& e) {
        complain(describe_error(e));
        return kSomeNotDone;
    }
}

} // namespace plate_mend::host
