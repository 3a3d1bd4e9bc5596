#include "container/Describe.h"

#include "container/Bmff.h"
#include "container/Raf.h"
#include "container/Tiff.h"

namespace raw_mend {

std::optional<Description> describe(Bytes bytes) {
    if (auto description = describe_raf(bytes)) {
        return description;
    }
    if (auto description = describe_bmff(bytes)) {
        return description;
    }
    return describe_tiff(bytes);
}

} // namespace raw_mend
