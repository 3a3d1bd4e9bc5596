#include "support/oracle/Draft.h"
#include "support/oracle/Oracle.h"
#include "support/oracle/SonySample.h"

#include <utility>

namespace test::oracle {

namespace {

Bytes repair(const Bytes& sample_bytes, const Bytes& damaged_bytes) {
    SonySample sample(sample_bytes);
    Draft& file = sample.file;
    (void)file.next_directory(sample.ifd1);
    const std::uint64_t preview1 = sample.preview_of(sample.ifd1, kAnywhere, 2);

    for (const std::uint64_t preview : {sample.preview, preview1}) {
        file.blank(preview, 30);
    }
    return merged_by_strip_group(std::move(sample.file), sample.image, sample.byte_count, damaged_bytes, 36,
                                 48);
}

} // namespace

Expected repaired_sr2(const Bytes& sample, const Bytes& damaged) {
    return attempt([&] { return repair(sample, damaged); });
}

} // namespace test::oracle
