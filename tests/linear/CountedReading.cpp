// The library's own reading under other names, and around it the functions that the library calls.
#define read_u16 read_u16_uncounted
#define read_u32 read_u32_uncounted
#define read_next_u16 read_next_u16_uncounted
#define read_next_u32 read_next_u32_uncounted
#include "util/Reading.cpp" // NOLINT(bugprone-suspicious-include)
#undef read_u16
#undef read_u32
#undef read_next_u16
#undef read_next_u32

#include "linear/Steps.h"

namespace plate_mend {

std::uint16_t read_u16(MMAP& map) {
    test::steps += 2;
    return read_u16_uncounted(map);
}

std::uint32_t read_u32(MMAP& map) {
    test::steps += 4;
    return read_u32_uncounted(map);
}

std::uint16_t read_next_u16(MMAP& map) {
    test::steps += 2;
    return read_next_u16_uncounted(map);
}

std::uint32_t read_next_u32(MMAP& map) {
    test::steps += 4;
    return read_next_u32_uncounted(map);
}

} // namespace plate_mend
