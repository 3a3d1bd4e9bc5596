#include "support/oracle/Draft.h"
#include "support/oracle/Oracle.h"

namespace test::oracle {

namespace {

Bytes repair(const Bytes& sample_bytes, const Bytes& damaged_bytes) {
    Draft sample{sample_bytes};
    const std::uint64_t ifd0 = sample.take_header();
    require(sample.run(8, 4) == Bytes{'C', 'R', 2, 0});
    const std::uint64_t raw_ifd = sample.u32(12);
    require(raw_ifd != 0);

    // The number after the last entry of a directory is the offset of the next one.
    const auto link_after = [&](std::uint16_t tag, std::uint64_t from) {
        const std::uint64_t at = sample.find_tag(tag, from);
        (void)sample.legal_entry(at);
        return std::uint64_t{sample.u32(at + 12)};
    };
    sample.blank(sample.find_entry(273, ifd0).value, 30);
    const std::uint64_t ifd1 = link_after(0x8825, ifd0);
    sample.blank(sample.find_entry(0x0201, ifd1).value, 30);
    const std::uint64_t ifd2 = link_after(0x0202, ifd1);
    const Entry strip = sample.find_entry(273, ifd2);
    const Entry strip_size = sample.find_entry(279, ifd2);
    require(sample.size() < 30 || strip.value <= sample.size() - 30);
    sample.blank(strip.value, strip_size.value);
    const std::uint64_t image = sample.find_entry(273, raw_ifd).value;

    const Draft damaged{damaged_bytes, sample.order};
    std::uint64_t offset_entry = damaged.find_tag(273, 0);
    while (true) {
        const Entry next = damaged.entry(offset_entry + 12);
        if (next.tag == 279 && next.type == 4 && next.count != 0 && next.value != 0) {
            break;
        }
        offset_entry = damaged.find_tag(273, offset_entry + 1);
    }
    const std::uint64_t damaged_image = damaged.legal_entry(offset_entry).value;
    return merged(sample, image, damaged, damaged_image);
}

} // namespace

Expected repaired_cr2(const Bytes& sample, const Bytes& damaged) {
    return attempt([&] { return repair(sample, damaged); });
}

} // namespace test::oracle
