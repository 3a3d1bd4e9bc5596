#include "SkipTable.h"

#include <algorithm>

namespace lossless_jpeg {

SkipTable::SkipTable(const jpeg_bits::HuffmanCodes& codes) : table_(codes) {
    std::size_t next = 0;
    std::size_t index = 0;
    for (unsigned length = 1; length <= 16; ++length) {
        for (unsigned nth = 0; nth < codes.counts[length - 1]; ++nth) {
            const unsigned bits = length + additional_bits(codes.symbols[index++]);
            longest_ = std::max(longest_, bits);
            if (length <= kIndexBits) {
                const std::size_t entries = std::size_t{1} << (kIndexBits - length);
                std::fill_n(bits_.begin() + static_cast<std::ptrdiff_t>(next), entries,
                            static_cast<std::uint8_t>(bits));
                next += entries;
            }
        }
    }
}

bool SkipTable::skip_long(jpeg_bits::BitReader& reader) const {
    const int category = table_.decode(reader);
    if (category < 0) {
        return false;
    }
    if (category > 0 && category < 16) {
        static_cast<void>(reader.get(static_cast<unsigned>(category)));
    }
    reader.fill();
    return true;
}

} // namespace lossless_jpeg
