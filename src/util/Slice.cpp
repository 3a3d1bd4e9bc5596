#include "util/Slice.h"

#include "api/Exceptions.h"

namespace plate_mend {

std::span<const unsigned char> slice(const MMAP& map, std::uint64_t offset, std::uint64_t count) {
    const auto bytes = map.bytes();
    if (offset > bytes.size() || count > bytes.size() - offset) {
        throw OutRangeException();
    }
    return bytes.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(count));
}

std::span<const unsigned char> slice_to_end(const MMAP& map, std::uint64_t offset) {
    const auto bytes = map.bytes();
    if (offset > bytes.size()) {
        throw OutRangeException();
    }
    return bytes.subspan(static_cast<std::size_t>(offset));
}

void insert_bytes(std::ostream& stream, std::span<const unsigned char> bytes) {
    stream.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

} // namespace plate_mend
