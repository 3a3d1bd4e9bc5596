#include "run/ExitStatus.h"

namespace plate_mend::host {

int status_of(Verdict verdict) {
    switch (verdict) {
    case Verdict::kWhole:
    case Verdict::kIntact:
        return kAllWhole;
    case Verdict::kNotRepaired:
        return kSomeLost;
    case Verdict::kNotDone:
        return kSomeNotDone;
    default:
        return kSomePartial;
    }
}

} // namespace plate_mend::host
