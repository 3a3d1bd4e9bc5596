#include "support/oracle/Draft.h"
#include "support/oracle/Oracle.h"
#include "support/oracle/SonySample.h"

#include <utility>

namespace test::oracle {

namespace {

Bytes repair(const Bytes& sample_bytes, const Bytes& damaged_bytes) {
    SonySample sample(sample_bytes);
    Draft& file = sample.file;
    const std::uint64_t ifd2 = file.next_directory(sample.ifd1);
    require(ifd2 < file.size());
    const std::uint64_t preview1 = sample.preview_of(sample.ifd1, bound(sample.ifd1, ifd2), 1);
    (void)file.next_directory(ifd2);
    const std::uint64_t preview2 = sample.preview_of(ifd2, kAnywhere, 2);

    for (const std::uint64_t preview : {sample.preview, preview1, preview2}) {
        file.blank(preview, 30);
    }
    return merged_by_strip_group(std::move(sample.file), sample.image, sample.byte_count, damaged_bytes, 12,
                                 24);
}

} // namespace

Expected repaired_arw(const Bytes& sample, const Bytes& damaged) {
    return attempt([&] { return repair(sample, damaged); });
}

} // namespace test::oracle
