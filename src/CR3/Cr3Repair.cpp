#include "CR3/Cr3Repair.h"

#include "api/RepairRegistry.h"
#include "api/RepairSteps.h"
#include "util/Log.h"

#include <plate_mend/plate_mend.h>

#include <memory>

namespace plate_mend {

namespace {

const RepairRegistrar registrar("cr3", [] { return std::make_shared<Cr3Repair>(); });

} // namespace

std::int32_t Cr3Repair::AdvanceRepair(const char* damaged_file, const char* sample_file,
                                      const char* output_file) {
    const RepairPaths paths = decode_paths(damaged_file, sample_file, output_file);
    clear_path(paths.output);
    if (!inputs_exist(paths)) {
        return PLATE_MEND_CR3_INPUT_MISSING;
    }
    PLATE_MEND_LOG_ERROR("Cr3Repair::AdvanceRepair", "the advanced repair of cr3 is not built yet");
    return PLATE_MEND_CR3_SAMPLE_UNUSABLE;
}

std::int32_t Cr3Repair::GeneralRepair(const char* damaged_file, const char* output_file) {
    const std::int32_t result = run_general_repair(damaged_file, output_file);
    if (result != 0) {
        return result;
    }
    PLATE_MEND_LOG_INFORMATION("Cr3Repair::GeneralRepair", "cr3 general repair success!");
    return 0;
}

} // namespace plate_mend
