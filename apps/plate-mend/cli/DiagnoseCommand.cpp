#include "cli/DiagnoseCommand.h"

#include "cli/FileCommands.h"
#include "repair/Workers.h"
#include "run/ExitStatus.h"
#include "text/Paths.h"

#include <iostream>

namespace plate_mend::host {

namespace fs = std::filesystem;

int run_diagnose(const DiagnoseOptions& options, const fs::path& program) {
    return run_for_each_file(options.files, options.limits, program,
                             [&](const std::string& file, const Workers& workers, const fs::path& folder) {
                                 const auto result = workers.diagnose(
                                     folder, {path_from(file), path_from(options.sample), options.json});
                                 if (!result.problem.empty()) {
                                     return fail(result.problem);
                                 }
                                 std::cout << result.text;
                                 return kAllWhole;
                             });
}

} // namespace plate_mend::host
