#include "StandIns.h"

#include <string>
#include <vector>

namespace {

struct Call {
    std::string damaged;
    std::string output;
};

std::vector<Call> calls;
int32_t result_to_give = 0;

} // namespace

int32_t MndJpegGeneralRepair(const char* damaged_file, const char* output_file) {
    calls.push_back({damaged_file, output_file});
    return result_to_give;
}

void StillMendStandInReset(void) {
    calls.clear();
    result_to_give = 0;
}

void StillMendStandInSetResult(int32_t result) {
    result_to_give = result;
}

size_t StillMendStandInCallCount(void) {
    return calls.size();
}
const char* StillMendStandInDamaged(size_t call) {
    return calls.at(call).damaged.c_str();
}
const char* StillMendStandInOutput(size_t call) {
    return calls.at(call).output.c_str();
}
