#include "Harness.h"

#include <cstdio>
#include <cstdlib>

namespace fuzz {

void stop_on(const std::string& complaint) {
    if (!complaint.empty()) {
        std::fprintf(stderr, "%s\n", complaint.c_str());
        std::abort();
    }
}

} // namespace fuzz
