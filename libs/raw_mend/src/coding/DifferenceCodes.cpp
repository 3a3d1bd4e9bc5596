#include "coding/DifferenceCodes.h"

#include <algorithm>

namespace raw_mend {

DifferenceCodes::DifferenceCodes(std::span<const DifferenceCode> codes, unsigned limit)
    : codes_(std::size_t{1} << kLookup), steps_(codes_.size()) {
    std::size_t at = 0;
    for (const DifferenceCode& code : codes) {
        const std::size_t end = std::min(at + (codes_.size() >> code.bits), codes_.size());
        if (code.difference <= limit) {
            std::fill(codes_.begin() + static_cast<std::ptrdiff_t>(at),
                      codes_.begin() + static_cast<std::ptrdiff_t>(end), code);
            std::fill(steps_.begin() + static_cast<std::ptrdiff_t>(at),
                      steps_.begin() + static_cast<std::ptrdiff_t>(end),
                      static_cast<std::uint8_t>(code.bits + code.difference - code.dropped));
        }
        at = end;
    }
}

} // namespace raw_mend
