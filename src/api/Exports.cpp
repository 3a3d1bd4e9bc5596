#include "api/Extension.h"
#include "api/RepairRegistry.h"
#include "api/WorkDirectory.h"
#include "platform/RawFile.h"
#include "util/LeakDetection.h"
#include "util/Log.h"
#include "util/Utf8Path.h"

#include <plate_mend/plate_mend.h>

#include <libraw/libraw.h>

#include <iostream>
#include <memory>

using namespace plate_mend;

namespace {

/// The version shown in the log. It does not follow the version of the project: see docs/compatibility.md,
/// The log.
constexpr const char* kVersion = "1, 0, 0, 134-d-f02cf55e";

std::shared_ptr<AbstractRepair> repairer_for(const char* file) {
    return RepairRegistry::instance().create(lower_case_extension(file));
}

} // namespace

// The exports catch nothing: see docs/compatibility.md, The interface.

std::int32_t MndRawInit(const char* log_directory, const char* config_directory, const char* work_directory) {
    const auto config = util::path_from_utf8(config_directory);
    const auto log = util::path_from_utf8(log_directory);
    const unsigned char started = util::log::initLog(config, log);
    PLATE_MEND_LOG_INFORMATION("MndRawInit", "lib_PlateMend_sdk version is %s", kVersion);
    set_work_directory(util::path_from_utf8(work_directory));
    // Only 1, though any result but 0 is logged as success: see docs/compatibility.md, The log.
    return started == 1 ? PLATE_MEND_OK : PLATE_MEND_LOG_FAILED;
}

void MndRawDestroy(void) {} // See docs/compatibility.md, The interface.

std::int32_t MndRawGeneralRepair(const char* damaged_file, const char* output_file) {
    const auto repairer = repairer_for(damaged_file);
    return repairer ? repairer->GeneralRepair(damaged_file, output_file) : PLATE_MEND_UNKNOWN;
}

std::int32_t MndRawAdvanceRepair(const char* damaged_file, const char* sample_file, const char* output_file) {
    const auto repairer = repairer_for(damaged_file);
    return repairer ? repairer->AdvanceRepair(damaged_file, sample_file, output_file) : PLATE_MEND_UNKNOWN;
}

std::int32_t CheckRawFile(const char* file) {
    const auto path = util::path_from_utf8(file);
    auto raw = std::make_unique<LibRaw>(0U);
    if (platform::open_raw(*raw, path) == LIBRAW_SUCCESS) {
        raw->recycle();
        return PLATE_MEND_OK;
    }
    std::cerr << "Could not open file " << file << std::endl;
    util::keep_for_life_of_process(raw.release()); // See docs/compatibility.md, The interface.
    return PLATE_MEND_UNKNOWN;
}
