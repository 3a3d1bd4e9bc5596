#pragma once

#include <cstdint>

namespace plate_mend::host {

/// What a worker may take.
struct LimitOptions {
    unsigned seconds = 600;
    std::uint64_t memory_mib = 4096;
};

} // namespace plate_mend::host
