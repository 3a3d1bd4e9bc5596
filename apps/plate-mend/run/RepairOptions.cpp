#include "run/RepairOptions.h"

#include <algorithm>
#include <thread>

namespace plate_mend::host {

unsigned jobs_of(const RepairOptions& options) {
    return options.jobs != 0 ? options.jobs : std::max(1U, std::thread::hardware_concurrency());
}

} // namespace plate_mend::host
