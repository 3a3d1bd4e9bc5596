#include "files/Failures.h"

#include "files/Stop.h"
#include "platform/Files.h"
#include "platform/Interrupt.h"
#include "text/Paths.h"

#include <filesystem>
#include <new>

namespace plate_mend::host {

namespace {

std::string describe_error(const std::error_code& reason) {
    return platform::means_no_room(reason) ? "the disk is full" : reason.message();
}

} // namespace

std::string describe_error(const std::exception& exception) {
    if (const auto* file = dynamic_cast<const std::filesystem::filesystem_error*>(&exception)) {
        const std::string path = utf8_from(file->path1());
        return (path.empty() ? "" : path + ": ") + describe_error(file->code());
    }
    if (dynamic_cast<const std::bad_alloc*>(&exception) != nullptr) {
        return "memory ran out";
    }
    // Everything that this program throws on purpose is one, and its text is for users.
    return dynamic_cast<const std::runtime_error*>(&exception) != nullptr ? exception.what()
                                                                          : "an error inside the program";
}

MachineFailure::MachineFailure(const std::string& what, const std::error_code& reason)
    : std::runtime_error(what + ": " + describe_error(reason)), no_room_(platform::means_no_room(reason)) {}

bool is_interrupted() {
    return platform::interrupted() || current_stop().stop_requested();
}

void check_interruption() {
    if (is_interrupted()) {
        throw Interrupted();
    }
}

} // namespace plate_mend::host
