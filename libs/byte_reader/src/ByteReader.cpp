#include <byte_reader/ByteReader.h>

#include <algorithm>

namespace byte_reader {

std::optional<std::size_t> ByteReader::find(std::string_view text, std::uint64_t start,
                                            std::uint64_t end) const {
    end = std::min<std::uint64_t>(end, size());
    if (text.size() > end || start > end - text.size()) {
        return std::nullopt;
    }
    // Sparse files have gigabytes of zeros, so the search is for a nonzero byte first.
    const std::size_t anchor = std::min(text.find_first_not_of('\0'), text.size() - 1);
    const std::size_t last = static_cast<std::size_t>(end) - text.size();
    for (auto at = static_cast<std::size_t>(start); at <= last; ++at) {
        const void* hit = std::memchr(bytes_.data() + at + anchor, text[anchor], last - at + 1);
        if (hit == nullptr) {
            break;
        }
        at = static_cast<std::size_t>(static_cast<const unsigned char*>(hit) - bytes_.data()) - anchor;
        if (has(at, text)) {
            return at;
        }
    }
    return std::nullopt;
}

} // namespace byte_reader
