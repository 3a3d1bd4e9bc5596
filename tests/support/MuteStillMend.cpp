#include <still_mend/still_mend.h>

// The salvager for programs that have no use for it.

int32_t MndJpegGeneralRepair(const char* /*damaged_file*/, const char* /*output_file*/) {
    return STILL_MEND_NOTHING_FOUND;
}
