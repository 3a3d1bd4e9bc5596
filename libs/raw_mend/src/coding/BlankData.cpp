#include "coding/BlankData.h"

#include <algorithm>

namespace raw_mend {

namespace {

constexpr int kMostBlankZeros = 511;

} // namespace

bool has_blank_part(Bytes coded) {
    return std::search_n(coded.begin(), coded.end(), kMostBlankZeros + 1, 0) != coded.end();
}

} // namespace raw_mend
