#include "support/oracle/SonySample.h"

namespace test::oracle {

std::uint64_t bound(std::uint64_t start, std::uint64_t end) {
    return end < start ? kAnywhere : end;
}

SonySample::SonySample(const Bytes& bytes) : file{bytes} {
    const std::uint64_t ifd0 = file.take_header();
    ifd1 = file.next_directory(ifd0);
    require(ifd1 < file.size());
    preview = preview_of(ifd0, bound(ifd0, ifd1), 1);
    const std::uint64_t sub_ifd = file.entry(file.typed_tag(0x014A, ifd0, bound(ifd0, ifd1), 1)).value;

    (void)file.next_directory(sub_ifd);
    image = file.entry(file.typed_tag(273, sub_ifd, kAnywhere, 2)).value;
    (void)file.entry(file.typed_tag(278, sub_ifd, kAnywhere, 2));
    byte_count = file.typed_tag(279, sub_ifd, kAnywhere, 2);
}

std::uint64_t SonySample::preview_of(std::uint64_t directory, std::uint64_t end, std::uint64_t step) const {
    const std::uint64_t offset = file.entry(file.typed_tag(0x0201, directory, end, step)).value;
    (void)file.entry(file.typed_tag(0x0202, directory, end, step));
    return offset;
}

} // namespace test::oracle
