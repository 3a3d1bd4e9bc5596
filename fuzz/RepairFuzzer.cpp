#include "Harness.h"
#include "RepairInput.h"

#include "support/RepairTrial.h"
#include "support/TempDir.h"

#include <iostream>

// The advanced repair of one format, FUZZ_FORMAT: see RepairTrial for what each repair must satisfy.

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    std::cerr.rdbuf(nullptr); // One repairer reports an unusable sample there.
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const test::TempDir folder(test::quick_folder());
    static test::RepairTrial trial(test::oracle::format_of(FUZZ_FORMAT), folder.path());
    const fuzz::RepairInput input = fuzz::split(data, size);
    fuzz::stop_on(trial.complaint(input.sample, input.damaged));
    return 0;
}
