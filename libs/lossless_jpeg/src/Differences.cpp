#include <lossless_jpeg/Differences.h>
#include <lossless_jpeg/Markers.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <utility>

namespace lossless_jpeg {

namespace {

/// The category of a difference, -32767 to 32768.
unsigned category_of(int difference) {
    return static_cast<unsigned>(std::bit_width(static_cast<unsigned>(std::abs(difference))));
}

} // namespace

ComponentTables::ComponentTables(const Head& head) {
    std::vector<unsigned> numbers;
    for (const Component& component : head.components) {
        const auto known = std::ranges::find(numbers, component.table);
        table_of_.push_back(static_cast<std::size_t>(known - numbers.begin()));
        if (known == numbers.end()) {
            numbers.push_back(component.table);
            tables_.emplace_back(*head.tables[component.table]);
        }
    }
}

DifferenceReader::DifferenceReader(Bytes bytes, const ComponentTables& tables, BitPlace place)
    : tables_(&tables), reader_(bytes, static_cast<std::size_t>(place.byte)) {
    if (place.bit > 0) {
        static_cast<void>(reader_.get(place.bit));
    }
}

DifferenceWriter::DifferenceWriter(const Head& head) {
    for (const Component& component : head.components) {
        codes_.push_back(make_codes(*head.tables[component.table]));
    }
}

DifferenceWriter::Codes DifferenceWriter::make_codes(const jpeg_bits::HuffmanCodes& table) {
    Codes codes{};
    std::uint32_t code = 0;
    std::size_t index = 0;
    for (unsigned length = 1; length <= 16; ++length) {
        for (unsigned nth = 0; nth < table.counts[length - 1]; ++nth) {
            Code& entry = codes.at(table.symbols.at(index++));
            entry = entry.length == 0 ? Code{code, length} : entry;
            ++code;
        }
        code <<= 1U;
    }
    return codes;
}

int DifferenceWriter::find_nearest(const Codes& codes, int difference) {
    if (codes[category_of(difference)].length != 0) {
        return difference;
    }
    const int sign = difference < 0 ? -1 : 1;
    int best = 0;
    bool found = false;
    const auto offer = [&](int candidate) {
        if (!found || std::abs(candidate - difference) < std::abs(best - difference)) {
            best = candidate;
            found = true;
        }
    };
    for (unsigned category = 0; category < codes.size(); ++category) {
        if (codes[category].length == 0) {
            continue;
        }
        const int least = category == 0 ? 0 : 1 << (category - 1U);
        const int most = category == 16 ? least : (1 << category) - 1;
        const int nearest = std::clamp(std::abs(difference), least, most);
        offer(category == 16 ? nearest : sign * nearest);
        offer(category == 16 ? nearest : -sign * least);
    }
    return best;
}

void DifferenceWriter::begin(std::vector<unsigned char> bytes, unsigned char next, unsigned bits) {
    bytes_ = std::move(bytes);
    byte_ = bits == 0 ? 0U : static_cast<unsigned>(next) >> (8U - bits);
    filled_ = bits;
}

int DifferenceWriter::put(std::size_t component, int difference) {
    const Codes& codes = codes_[component];
    const int written = find_nearest(codes, difference);
    const unsigned category = category_of(written);
    const Code& code = codes[category];
    put_bits(code.bits, code.length);
    if (category != 16) {
        const int value = written < 0 ? written + (1 << category) - 1 : written;
        put_bits(static_cast<std::uint32_t>(value), category);
    }
    return written;
}

std::vector<unsigned char> DifferenceWriter::finish() {
    if (filled_ != 0) {
        const unsigned rest = 8 - filled_;
        put_bits((1U << rest) - 1U, rest);
    }
    bytes_.push_back(0xFF);
    bytes_.push_back(kEoi);
    return std::exchange(bytes_, {});
}

void DifferenceWriter::put_bits(std::uint32_t value, unsigned count) {
    while (count > 0) {
        const unsigned taken = std::min(count, 8 - filled_);
        count -= taken;
        byte_ = byte_ << taken | (value >> count & ((1U << taken) - 1U));
        filled_ += taken;
        if (filled_ == 8) {
            bytes_.push_back(static_cast<unsigned char>(byte_));
            if (byte_ == 0xFF) {
                bytes_.push_back(0);
            }
            byte_ = 0;
            filled_ = 0;
        }
    }
}

} // namespace lossless_jpeg
