#include "cli/CommandLine.h"
#include "files/Failures.h"
#include "platform/Arguments.h"
#include "platform/Process.h"
#include "report/Notes.h"
#include "run/ExitStatus.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv) {
    namespace host = plate_mend::host;
    try {
        host::platform::survive_long_files();
        const int status =
            host::run(host::platform::utf8_arguments(argc, argv), host::platform::own_program());
        if (!std::cout.flush()) {
            host::complain("the standard output cannot be written to");
            return host::kSomeNotDone;
        }
        return status;
    } catch (const std::exception& e) {
        host::complain(host::describe_error(e));
        return host::kSomeNotDone;
    }
}
