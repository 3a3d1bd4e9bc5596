#include "cli/CommandTree.h"

namespace plate_mend::host {

std::vector<std::string> OptionDescription::names() const {
    std::vector<std::string> names;
    for (const std::string& name : short_names) {
        names.push_back('-' + name);
    }
    for (const std::string& name : long_names) {
        names.push_back("--" + name);
    }
    return names;
}

} // namespace plate_mend::host
