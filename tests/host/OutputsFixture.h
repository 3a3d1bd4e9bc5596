#pragma once

#include "host/BatchFixture.h"

#include <string>
#include <vector>

namespace test {

/// For tests of what results and reports may be written over.
class OutputsFixture : public BatchFixture {
  protected:
    /// A repair into the folder "mended" with these arguments added.
    [[nodiscard]] std::vector<std::string> command(const std::vector<std::string>& more) const {
        std::vector<std::string> all{"repair", "-s", in("good.arw"), "--out", in("mended")};
        all.insert(all.end(), more.begin(), more.end());
        return all;
    }

    /// A damaged file from which only a JPEG can be salvaged.
    [[nodiscard]] static Bytes only_a_preview() {
        const ArwPhoto large(ArwPhoto::Options{.number = 2, .width = 640, .height = 480});
        return zeroed(large.bytes, 0, large.strip_entries + 36);
    }

    const Bytes mine_{'m', 'i', 'n', 'e'};
};

} // namespace test
