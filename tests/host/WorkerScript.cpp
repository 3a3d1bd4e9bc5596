#include "host/WorkerScript.h"

#include "host/ProgramFile.h"

#include <fstream>
#include <system_error>
#include <utility>

namespace test {

WorkerScript::WorkerScript(std::filesystem::path file, const std::string& script) : file_(std::move(file)) {
    {
        std::ofstream(file_) << "#!/bin/sh\nexec </dev/null\nprogram='" << program_file().string() << "'\n"
                             << script << '\n';
    }
    std::filesystem::permissions(file_, std::filesystem::perms::owner_all);
}

WorkerScript::~WorkerScript() {
    std::error_code ignored;
    std::filesystem::remove(file_, ignored);
}

} // namespace test
