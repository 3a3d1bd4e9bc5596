#include "util/Slice.h"

#include "api/Exceptions.h"
#include "platform/FileMapping.h"

#include <algorithm>

namespace plate_mend {

namespace {

// The system writes pages that are not mapped yet one by one, or changes to that in the middle of a large
// write. So a slice is written in pieces, each of which is mapped as a whole first.
constexpr std::size_t kPiece = std::size_t{1} << 21;
constexpr std::size_t kWorthPrefetching = std::size_t{1} << 16;

} // namespace

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
    do {
        const auto piece = bytes.first(std::min(bytes.size(), kPiece));
        if (piece.size() >= kWorthPrefetching) {
            platform::prefetch(piece);
        }
        stream.write(reinterpret_cast<const char*>(piece.data()), static_cast<std::streamsize>(piece.size()));
        bytes = bytes.subspan(piece.size());
    } while (!bytes.empty());
}

} // namespace plate_mend
