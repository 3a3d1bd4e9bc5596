#include "host/ProgramFile.h"

#include "platform/Process.h"

namespace test {

std::filesystem::path program_file() {
    return plate_mend::host::platform::own_program().parent_path() / PLATE_MEND_PROGRAM_NAME;
}

} // namespace test
