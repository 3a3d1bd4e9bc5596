#include "support/oracle/Draft.h"
#include "support/oracle/Oracle.h"

namespace test::oracle {

namespace {

constexpr std::uint64_t kAnywhere = UINT64_MAX;

/// The first place in [from, end) where the tag stands with a type of TIFF behind it; the next candidate is
/// step bytes behind one that fails.
std::uint64_t typed_tag(const Draft& file, std::uint16_t tag, std::uint64_t from, std::uint64_t end,
                        std::uint64_t step) {
    while (true) {
        const auto at = file.seek(file.tag_bytes(tag), from, end);
        require(at.has_value());
        const std::uint16_t type = file.u16(*at + 2);
        if (type >= 1 && type <= 12) {
            return *at;
        }
        from = *at + step;
    }
}

/// The link behind a directory's entries.
std::uint64_t next_directory(const Draft& file, std::uint64_t directory) {
    return file.u32(directory + 2 + 12 * std::uint64_t{file.u16(directory)});
}

Bytes repair(const Bytes& sample_bytes, const Bytes& damaged_bytes) {
    Draft sample{sample_bytes};
    sample.take_order();
    const std::uint16_t version = sample.u16(2);
    require(version == 42 || version == 0x2A00);
    const std::uint64_t ifd0 = sample.u32(4);
    require(ifd0 != 0);
    const std::uint64_t ifd1 = next_directory(sample, ifd0);

    // An end in front of the start is no bound at all.
    const auto bound = [](std::uint64_t start, std::uint64_t end) { return end < start ? kAnywhere : end; };
    require(ifd1 < sample.size());
    const std::uint64_t preview0 = sample.entry(typed_tag(sample, 0x0201, ifd0, bound(ifd0, ifd1), 1)).value;
    (void)sample.entry(typed_tag(sample, 0x0202, ifd0, bound(ifd0, ifd1), 1));
    const std::uint64_t sub_ifd = sample.entry(typed_tag(sample, 0x014A, ifd0, bound(ifd0, ifd1), 1)).value;

    (void)next_directory(sample, sub_ifd);
    const std::uint64_t image = sample.entry(typed_tag(sample, 273, sub_ifd, kAnywhere, 2)).value;
    (void)sample.entry(typed_tag(sample, 278, sub_ifd, kAnywhere, 2));
    const std::uint64_t byte_count = typed_tag(sample, 279, sub_ifd, kAnywhere, 2);
    require(byte_count + 12 < sample.size()); // A byte must follow the field that will be patched.

    const std::uint64_t ifd2 = next_directory(sample, ifd1);
    require(ifd2 < sample.size());
    const std::uint64_t preview1 = sample.entry(typed_tag(sample, 0x0201, ifd1, bound(ifd1, ifd2), 1)).value;
    (void)sample.entry(typed_tag(sample, 0x0202, ifd1, bound(ifd1, ifd2), 1));

    (void)next_directory(sample, ifd2);
    const std::uint64_t preview2 = sample.entry(typed_tag(sample, 0x0201, ifd2, kAnywhere, 2)).value;
    (void)sample.entry(typed_tag(sample, 0x0202, ifd2, kAnywhere, 2));

    sample.blank(preview0, 30);
    sample.blank(preview1, 30);
    sample.blank(preview2, 30);

    const Draft damaged{damaged_bytes, sample.order};
    std::uint64_t strip = damaged.find_tag(273, 0);
    while (true) {
        const std::uint16_t rows = damaged.u16(strip + 12);
        const std::uint16_t counts = damaged.u16(strip + 24);
        if (rows == 278 && counts == 279) {
            break;
        }
        strip = damaged.find_tag(273, strip + 1);
    }
    (void)damaged.entry(strip + 24);

    sample.put(byte_count + 8, damaged.u32(strip + 24 + 8));
    const std::uint64_t damaged_image = damaged.u32(strip + 8);
    require(damaged_image <= damaged.size());
    return joined(sample.run(0, image), damaged.run(damaged_image, damaged.size() - damaged_image));
}

} // namespace

Expected repaired_arw(const Bytes& sample, const Bytes& damaged) {
    return attempt([&] { return repair(sample, damaged); });
}

} // namespace test::oracle
