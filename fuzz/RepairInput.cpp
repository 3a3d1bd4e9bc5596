#include "RepairInput.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace fuzz {

namespace {

using test::Bytes;

constexpr std::size_t kHeader = 8;
constexpr std::size_t kChangesField = 2;
constexpr std::size_t kFirstField = 3;
constexpr std::size_t kSecondField = 5;
constexpr std::size_t kValueField = 7;

enum Change : unsigned { kTakeSample = 1, kZeroHead = 2, kSetByte = 4, kCutOff = 8 };

} // namespace

RepairInput split(const unsigned char* data, std::size_t size) {
    Bytes header(data, data + std::min(size, kHeader));
    header.resize(kHeader);
    const Bytes files(data + std::min(size, kHeader), data + size);
    const auto number = [&header](std::size_t at) {
        return std::size_t{test::get_u16(header, at, test::ByteOrder::kLittle)};
    };
    const std::size_t middle = std::min(number(0), files.size());
    RepairInput input{test::part(files, 0, middle), test::part(files, middle, files.size())};

    const unsigned changes = header[kChangesField];
    Bytes& damaged = input.damaged;
    if ((changes & kTakeSample) != 0) {
        damaged = input.sample;
    }
    if (damaged.empty()) {
        return input;
    }
    const std::size_t first = number(kFirstField) % damaged.size();
    const std::size_t second = number(kSecondField) % damaged.size();
    if ((changes & kZeroHead) != 0) {
        std::fill_n(damaged.begin(), first, static_cast<unsigned char>(0));
    }
    if ((changes & kSetByte) != 0) {
        damaged[second] = header[kValueField];
    }
    if ((changes & kCutOff) != 0) {
        damaged.resize(second);
    }
    return input;
}

Bytes join(const RepairInput& input) {
    if (input.sample.size() > std::numeric_limits<std::uint16_t>::max()) {
        throw std::length_error("fuzz::join");
    }
    Bytes bytes(kHeader);
    test::put_u16(bytes, 0, static_cast<std::uint16_t>(input.sample.size()), test::ByteOrder::kLittle);
    return test::joined(test::joined(std::move(bytes), input.sample), input.damaged);
}

} // namespace fuzz
