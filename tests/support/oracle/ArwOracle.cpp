#include "support/oracle/Draft.h"
#include "support/oracle/Oracle.h"

namespace test::oracle {

namespace {

Bytes repair(const Bytes& sample_bytes, const Bytes& damaged_bytes) {
    Draft sample{sample_bytes};
    const std::uint64_t ifd0 = sample.take_header();
    const std::uint64_t ifd1 = sample.next_directory(ifd0);

    // An end before the start is no bound at all.
    const auto bound = [](std::uint64_t start, std::uint64_t end) { return end < start ? kAnywhere : end; };
    require(ifd1 < sample.size());
    const std::uint64_t preview0 = sample.entry(sample.typed_tag(0x0201, ifd0, bound(ifd0, ifd1), 1)).value;
    (void)sample.entry(sample.typed_tag(0x0202, ifd0, bound(ifd0, ifd1), 1));
    const std::uint64_t sub_ifd = sample.entry(sample.typed_tag(0x014A, ifd0, bound(ifd0, ifd1), 1)).value;

    (void)sample.next_directory(sub_ifd);
    const std::uint64_t image = sample.entry(sample.typed_tag(273, sub_ifd, kAnywhere, 2)).value;
    (void)sample.entry(sample.typed_tag(278, sub_ifd, kAnywhere, 2));
    const std::uint64_t byte_count = sample.typed_tag(279, sub_ifd, kAnywhere, 2);
    require(byte_count + 12 < sample.size()); // A byte must follow the field that will be patched.

    const std::uint64_t ifd2 = sample.next_directory(ifd1);
    require(ifd2 < sample.size());
    const std::uint64_t preview1 = sample.entry(sample.typed_tag(0x0201, ifd1, bound(ifd1, ifd2), 1)).value;
    (void)sample.entry(sample.typed_tag(0x0202, ifd1, bound(ifd1, ifd2), 1));

    (void)sample.next_directory(ifd2);
    const std::uint64_t preview2 = sample.entry(sample.typed_tag(0x0201, ifd2, kAnywhere, 2)).value;
    (void)sample.entry(sample.typed_tag(0x0202, ifd2, kAnywhere, 2));

    sample.blank(preview0, 30);
    sample.blank(preview1, 30);
    sample.blank(preview2, 30);

    const Draft damaged{damaged_bytes, sample.order};
    const std::uint64_t strip = damaged.find_strip_group(12, 24);

    sample.put(byte_count + 8, damaged.u32(strip + 24 + 8));
    const std::uint64_t damaged_image = damaged.u32(strip + 8);
    return merged(sample, image, damaged, damaged_image);
}

} // namespace

Expected repaired_arw(const Bytes& sample, const Bytes& damaged) {
    return attempt([&] { return repair(sample, damaged); });
}

} // namespace test::oracle
