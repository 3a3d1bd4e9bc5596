#include "SR2/Sr2Repair.h"

#include "api/RepairRegistry.h"
#include "api/RepairSteps.h"
#include "util/Log.h"

#include <plate_mend/plate_mend.h>

#include <memory>

namespace plate_mend {

namespace {

const RepairRegistrar registrar("sr2", [] { return std::make_shared<Sr2Repair>(); });

} // namespace

std::int32_t Sr2Repair::AdvanceRepair(const char* damaged_file, const char* sample_file,
                                      const char* output_file) {
    const RepairPaths paths = decode_paths(damaged_file, sample_file, output_file);
    clear_path(paths.output);
    if (!inputs_exist(paths)) {
        return PLATE_MEND_SR2_INPUT_MISSING;
    }
    const auto temporary = temporary_path("temp.sr2");
    clear_path(temporary);
    if (!clone_file(paths.sample, temporary)) {
        PLATE_MEND_LOG_ERROR("Sr2Repair::AdvanceRepair", "sr2 file clone faild");
        return PLATE_MEND_SR2_CLONE_FAILED;
    }
    PLATE_MEND_LOG_INFORMATION("Sr2Repair::AdvanceRepair", "sr2 file clone success");
    PLATE_MEND_LOG_ERROR("Sr2Repair::AdvanceRepair", "the advanced repair of sr2 is not built yet");
    return PLATE_MEND_SR2_SAMPLE_UNUSABLE;
}

std::int32_t Sr2Repair::GeneralRepair(const char* damaged_file, const char* output_file) {
    const std::int32_t result = run_general_repair(damaged_file, output_file);
    if (result != 0) {
        PLATE_MEND_LOG_INFORMATION("Sr2Repair::GeneralRepair", "sr2 general repair fail!");
        return result;
    }
    PLATE_MEND_LOG_INFORMATION("Sr2Repair::GeneralRepair", "sr2 general repair success!");
    return 0;
}

} // namespace plate_mend
