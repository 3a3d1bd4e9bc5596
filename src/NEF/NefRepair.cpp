#include "NEF/NefRepair.h"

#include "api/RepairRegistry.h"
#include "api/RepairSteps.h"
#include "util/Log.h"

#include <plate_mend/plate_mend.h>

#include <memory>

namespace plate_mend {

namespace {

const RepairRegistrar registrar("nef", [] { return std::make_shared<NefRepair>(); });

} // namespace

std::int32_t NefRepair::AdvanceRepair(const char* damaged_file, const char* sample_file,
                                      const char* output_file) {
    const RepairPaths paths = decode_paths(damaged_file, sample_file, output_file);
    clear_path(paths.output);
    if (!inputs_exist(paths)) {
        return PLATE_MEND_NEF_INPUT_MISSING;
    }
    const auto temporary = temporary_path("temp.nef");
    clear_path(temporary);
    if (!clone_file(paths.sample, temporary)) {
        PLATE_MEND_LOG_ERROR("NefRepair::AdvanceRepair", "nef file clone faild");
        return PLATE_MEND_NEF_CLONE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("NefRepair::AdvanceRepair", "nef file clone success");
    PLATE_MEND_LOG_ERROR("NefRepair::AdvanceRepair", "the advanced repair of nef is not built yet");
    return PLATE_MEND_NEF_SAMPLE_UNUSABLE;
}

std::int32_t NefRepair::GeneralRepair(const char* damaged_file, const char* output_file) {
    const std::int32_t result = run_general_repair(damaged_file, output_file);
    if (result != 0) {
        PLATE_MEND_LOG_INFORMATION("NefRepair::GeneralRepair", "nef general repair fail!");
        return result;
    }
    PLATE_MEND_LOG_INFORMATION("NefRepair::GeneralRepair", "nef general repair success!");
    return 0;
}

} // namespace plate_mend
