#include "support/oracle/Draft.h"
#include "support/oracle/Oracle.h"

namespace test::oracle {

namespace {

Bytes repair(const Bytes& sample_bytes, const Bytes& damaged_bytes) {
    Draft sample{sample_bytes};
    const std::uint64_t ifd0 = sample.take_header();
    const Entry strip = sample.find_entry(273, ifd0);
    const Entry strip_size = sample.find_entry(279, ifd0);
    sample.blank(strip.value, strip_size.value);

    // A list of one has no second sub-directory, and that of the raw image is the second.
    const Entry sub_ifds = sample.find_entry(330, ifd0);
    require(sub_ifds.count > 1 && sub_ifds.value != 0);
    (void)sample.run(sub_ifds.value, 4 * std::uint64_t{sub_ifds.count});
    const std::uint64_t preview_ifd = sample.u32(sub_ifds.value);
    const std::uint64_t raw_ifd = sample.u32(std::uint64_t{sub_ifds.value} + 4);
    sample.blank(sample.find_entry(0x0201, preview_ifd).value, 30);
    const std::uint64_t image = sample.find_entry(273, raw_ifd).value;

    const Draft damaged{damaged_bytes, sample.order};
    std::uint64_t main_entry = damaged.find_tag(254, 0);
    while (true) {
        const Entry entry = damaged.entry(main_entry);
        if (entry.legal() && entry.value == 0) {
            break;
        }
        main_entry = damaged.find_tag(254, main_entry + 1);
    }
    const std::uint64_t damaged_image = damaged.find_entry(273, main_entry).value;
    return merged(sample, image, damaged, damaged_image);
}

} // namespace

Expected repaired_nef(const Bytes& sample, const Bytes& damaged) {
    return attempt([&] { return repair(sample, damaged); });
}

} // namespace test::oracle
