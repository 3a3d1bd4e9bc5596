#include "cli/CheckCommand.h"

#include "cli/FileCommands.h"
#include "files/Failures.h"
#include "files/InputFile.h"
#include "files/SafeOutput.h"
#include "platform/Files.h"
#include "repair/Workers.h"
#include "run/ExitStatus.h"
#include "text/Paths.h"
#include "text/Text.h"

#include <iostream>
#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// Throws MachineFailure.
void require_readable_file(const fs::path& file) {
    try {
        const platform::SourceFile source(file);
    } catch (const std::system_error& e) {
        throw MachineFailure("cannot be read", e.code());
    }
}

Workers::CheckResult check(const fs::path& file, const Workers& workers, const fs::path& folder) {
    if (!is_there(file)) {
        return {.opens = false, .problem = "no such file"};
    }
    require_readable_file(file);
    return workers.check(folder, reachable_name(file, folder, "file"));
}

} // namespace

int run_check(const CheckOptions& options, const fs::path& program) {
    return run_for_each_file(options.files, options.limits, program,
                             [](const std::string& file, const Workers& workers, const fs::path& folder) {
                                 const auto result = check(path_from(file), workers, folder);
                                 std::cout
                                     << printable(file) << (result.opens ? ": opens" : ": does not open")
                                     << (result.problem.empty() ? "" : " (" + printable(result.problem) + ")")
                                     << '\n';
                                 return result.opens ? kAllWhole : kSomePartial;
                             });
}

} // namespace plate_mend::host
