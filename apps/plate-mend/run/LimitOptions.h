#pragma once

#include <cstdint>

namespace plate_mend::host {

/// How much a worker may use; 0 is no limit.
struct LimitOptions {
    unsigned seconds = 600;
    std::uint64_t memory_mib = 4096;
};

} // namespace plate_mend::host
