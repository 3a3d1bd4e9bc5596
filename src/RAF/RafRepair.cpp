#include "RAF/RafRepair.h"

#include "api/RepairRegistry.h"
#include "api/RepairSteps.h"
#include "util/Log.h"

#include <plate_mend/plate_mend.h>

#include <memory>

namespace plate_mend {

namespace {

const RepairRegistrar registrar("raf", [] { return std::make_shared<RafRepair>(); });

} // namespace

std::int32_t RafRepair::AdvanceRepair(const char* damaged_file, const char* sample_file,
                                      const char* output_file) {
    const RepairPaths paths = decode_paths(damaged_file, sample_file, output_file);
    clear_path(paths.output);
    if (!inputs_exist(paths)) {
        return PLATE_MEND_RAF_INPUT_MISSING;
    }
    const auto temporary = temporary_path("temp.raf");
    clear_path(temporary);
    if (!clone_file(paths.sample, temporary)) {
        PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair", "orf file clone faild");
        return PLATE_MEND_RAF_CLONE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("RafRepair::AdvanceRepair", "orf file clone success");
    PLATE_MEND_LOG_ERROR("RafRepair::AdvanceRepair", "the advanced repair of raf is not built yet");
    return PLATE_MEND_RAF_SAMPLE_UNUSABLE;
}

std::int32_t RafRepair::GeneralRepair(const char* damaged_file, const char* output_file) {
    const std::int32_t result = run_general_repair(damaged_file, output_file);
    if (result != 0) {
        PLATE_MEND_LOG_INFORMATION("RafRepair::GeneralRepair", "raf general repair fail!");
        return result;
    }
    PLATE_MEND_LOG_INFORMATION("RafRepair::GeneralRepair", "raf general repair success!");
    return 0;
}

} // namespace plate_mend
