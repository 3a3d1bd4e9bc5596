#include "api/Exceptions.h"

namespace plate_mend {

// The texts are fixed, grammar included: see docs/compatibility.md, The log.

const char* IllegalException::what() const noexcept {
    return "Data is illegal";
}

const char* NotFoundException::what() const noexcept {
    return "Data can not found";
}

const char* VisitingBeyondException::what() const noexcept {
    return "Visiting beyond boundaries";
}

const char* OutRangeException::what() const noexcept {
    return "Access out of range";
}

const char* MismatchingException::what() const noexcept {
    return "Data is mismatching";
}

} // namespace plate_mend
