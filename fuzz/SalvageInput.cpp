#include "SalvageInput.h"

#include <algorithm>

namespace fuzz {

namespace {

constexpr std::size_t kBeforeFile = 5;

} // namespace

test::Bytes repeated_file(const unsigned char* data, std::size_t size) {
    if (size <= kBeforeFile) {
        return {};
    }
    test::Bytes file(data + kBeforeFile, data + size);
    const std::size_t first = (data[1] | std::size_t{data[2]} << 8U) % file.size();
    const std::size_t length = std::min(data[3] | std::size_t{data[4]} << 8U, file.size() - first);
    if (length == 0) {
        return file;
    }
    const std::size_t most = std::max<std::size_t>(kMostRepeated / length, 1);
    const std::size_t times = std::min(std::size_t{1} << (data[0] & 31U), most);
    const auto begin = file.begin() + static_cast<std::ptrdiff_t>(first);
    const auto end = begin + static_cast<std::ptrdiff_t>(length);
    test::Bytes grown(file.begin(), begin);
    grown.reserve(file.size() + length * times);
    for (std::size_t count = 0; count < times; ++count) {
        grown.insert(grown.end(), begin, end);
    }
    grown.insert(grown.end(), end, file.end());
    return grown;
}

test::Bytes repeating(const test::Bytes& file, unsigned doublings, std::size_t first, std::size_t length) {
    test::Bytes input{static_cast<unsigned char>(doublings)};
    for (const std::size_t number : {first, length}) {
        input.push_back(static_cast<unsigned char>(number & 0xFFU));
        input.push_back(static_cast<unsigned char>(number >> 8U));
    }
    return test::joined(input, file);
}

} // namespace fuzz
