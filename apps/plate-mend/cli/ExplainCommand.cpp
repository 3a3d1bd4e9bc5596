#include "cli/ExplainCommand.h"

#include "cli/FileCommands.h"
#include "record/Codes.h"
#include "run/ExitStatus.h"

#include <iostream>

namespace plate_mend::host {

int run_explain(const std::string& code) {
    const std::string text = explain(code);
    if (text.empty()) {
        return fail(code + ": no such code");
    }
    std::cout << text;
    return kAllWhole;
}

} // namespace plate_mend::host
