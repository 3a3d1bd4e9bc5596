#pragma once

#include <cstddef>
#include <vector>

namespace test {

/// Long series of similar cases, which start processes or write thousands of files, run every n-th case only
/// where that is slow: 7 under Wine, else 1. No series has a period that 7 divides.
constexpr std::size_t kEveryNth = PLATE_MEND_EVERY_NTH;

/// The first of the cases, and every n-th after it.
template <typename T>
[[nodiscard]] std::vector<T> thinned(const std::vector<T>& cases) {
    std::vector<T> some;
    for (std::size_t index = 0; index < cases.size(); index += kEveryNth) {
        some.push_back(cases[index]);
    }
    return some;
}

} // namespace test
