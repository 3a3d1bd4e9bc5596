#include "DNG/DngRepair.h"

#include "api/RepairRegistry.h"
#include "api/RepairSteps.h"
#include "util/Log.h"

#include <plate_mend/plate_mend.h>

#include <memory>

namespace plate_mend {

namespace {

const RepairRegistrar registrar("dng", [] { return std::make_shared<DngRepair>(); });

} // namespace

std::int32_t DngRepair::AdvanceRepair(const char* damaged_file, const char* sample_file,
                                      const char* output_file) {
    const RepairPaths paths = decode_paths(damaged_file, sample_file, output_file);
    clear_path(paths.output);
    if (!inputs_exist(paths)) {
        return PLATE_MEND_DNG_INPUT_MISSING;
    }
    const auto temporary = temporary_path("temp.dng");
    clear_path(temporary);
    if (!clone_file(paths.sample, temporary)) {
        PLATE_MEND_LOG_ERROR("DngRepair::AdvanceRepair", "dng file clone faild");
        return PLATE_MEND_DNG_CLONE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("DngRepair::AdvanceRepair", "dng file clone success");
    PLATE_MEND_LOG_ERROR("DngRepair::AdvanceRepair", "the advanced repair of dng is not built yet");
    return PLATE_MEND_DNG_SAMPLE_UNUSABLE;
}

std::int32_t DngRepair::GeneralRepair(const char* damaged_file, const char* output_file) {
    const std::int32_t result = run_general_repair(damaged_file, output_file);
    if (result != 0) {
        PLATE_MEND_LOG_INFORMATION("DngRepair::GeneralRepair", "dng general repair fail!");
        return result;
    }
    PLATE_MEND_LOG_INFORMATION("DngRepair::GeneralRepair", "dng general repair success!");
    return 0;
}

} // namespace plate_mend
