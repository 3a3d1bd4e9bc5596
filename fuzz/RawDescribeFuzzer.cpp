#include "Harness.h"

#include "unit/raw_mend/Inconsistency.h"

#include "container/Describe.h"

// The description of any bytes is true to them.

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const test::Bytes bytes(data, data + size);
    if (const auto description = raw_mend::describe(bytes)) {
        fuzz::stop_on(raw_mend::inconsistency(bytes, *description));
    }
    return 0;
}
