#pragma once

#include "assemble/Splice.h"
#include "support/Bytes.h"

namespace test {

/// The bytes of a splice.
[[nodiscard]] inline Bytes written(const raw_mend::Splice& splice) {
    Bytes all;
    splice.write([&](raw_mend::Bytes part) { all.insert(all.end(), part.begin(), part.end()); });
    return all;
}

} // namespace test
