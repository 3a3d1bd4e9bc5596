#include "support/oracle/Draft.h"
#include "support/oracle/Oracle.h"

#include <utility>
#include <vector>

namespace test::oracle {

namespace {

const Bytes kJpegStart{0xFF, 0xD8, 0xFF, 0xDB};

Bytes repair(const Bytes& sample_bytes, const Bytes& damaged_bytes) {
    Draft sample{sample_bytes};
    sample.take_order();
    const Bytes magic = sample.run(2, 2);
    require(magic == Bytes{'R', 'O'} || magic == Bytes{'O', 'R'});
    const std::uint64_t ifd0 = sample.u32(4);
    require(ifd0 != 0);
    const std::uint64_t link = ifd0 + 2 + 12 * std::uint64_t{sample.u16(ifd0)};
    require(sample.u32(link) == 0);

    const auto tag_in_ifd0 = [&](std::uint16_t tag) {
        const auto at = sample.seek(sample.tag_bytes(tag), ifd0, link + 3);
        require(at.has_value());
        (void)sample.entry(*at);
        return *at;
    };
    const std::uint64_t image = sample.entry(tag_in_ifd0(273)).value;
    (void)tag_in_ifd0(278);
    const std::uint64_t byte_count = tag_in_ifd0(279);

    std::vector<std::uint64_t> jpegs;
    for (auto at = sample.seek(kJpegStart, 0, sample.size()); at;
         at = sample.seek(kJpegStart, *at + 2, sample.size())) {
        jpegs.push_back(*at);
    }
    for (const std::uint64_t jpeg : jpegs) {
        sample.blank(jpeg, 30);
    }

    return merged_by_strip_group(std::move(sample), image, byte_count, damaged_bytes, 36, 48);
}

} // namespace

Expected repaired_orf(const Bytes& sample, const Bytes& damaged) {
    return attempt([&] { return repair(sample, damaged); });
}

} // namespace test::oracle
