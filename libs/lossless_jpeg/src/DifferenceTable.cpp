#include <lossless_jpeg/DifferenceTable.h>

#include <algorithm>

namespace lossless_jpeg {

DifferenceTable::DifferenceTable(const jpeg_bits::HuffmanCodes& codes) : table_(codes) {
    std::ptrdiff_t next = 0;
    std::size_t index = 0;
    for (unsigned length = 1; length <= 16; ++length) {
        for (unsigned nth = 0; nth < codes.counts[length - 1]; ++nth) {
            const std::uint8_t category = codes.symbols[index++];
            const unsigned bits = length + additional_bits(category);
            longest_ = std::max(longest_, bits);
            if (length <= kIndexBits) {
                const std::ptrdiff_t entries = std::ptrdiff_t{1} << (kIndexBits - length);
                const bool rare = category == 16;
                std::fill_n(bits_.begin() + next, entries, static_cast<std::uint8_t>(rare ? 0 : bits));
                std::fill_n(categories_.begin() + next, entries, category);
                next += entries;
            }
        }
    }
}

int DifferenceTable::decode_long(jpeg_bits::BitReader& reader) const {
    const int category = table_.decode(reader);
    if (category < 0) {
        return kNoCode;
    }
    const int difference =
        category == 16 ? 32768 : jpeg_bits::receive_extend(reader, static_cast<unsigned>(category));
    reader.fill();
    return difference;
}

} // namespace lossless_jpeg
