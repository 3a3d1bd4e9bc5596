#include "assemble/Splice.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace raw_mend {

namespace {

constexpr std::size_t kZeros = 4096;

} // namespace

void Splice::append(Bytes part) {
    if (!part.empty()) {
        parts_.push_back({size_, part, part.size()});
        size_ += part.size();
    }
}

void Splice::append_zeros(std::uint64_t count) {
    if (count != 0) {
        parts_.push_back({size_, {}, count});
        size_ += count;
    }
}

bool Splice::set(const NumberField& field, std::uint64_t number) {
    if (number < field.base || field.size > 8 || field.at > size_ || field.size > size_ - field.at) {
        return false;
    }
    std::uint64_t rest = number - field.base;
    std::vector<unsigned char> bytes(field.size);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(rest & 0xFFU);
        rest >>= 8U;
    }
    if (rest != 0) {
        return false;
    }
    if (field.order == ByteOrder::kBig) {
        std::ranges::reverse(bytes);
    }
    return change(field.at, std::move(bytes));
}

bool Splice::change(std::uint64_t at, std::vector<unsigned char> bytes) {
    const auto after = changes_.lower_bound(at);
    if (after != changes_.end() && after->first == at) {
        return after->second == bytes;
    }
    const bool overlaps_next = after != changes_.end() && after->first < at + bytes.size();
    const bool overlaps_last =
        after != changes_.begin() && std::prev(after)->first + std::prev(after)->second.size() > at;
    if (overlaps_next || overlaps_last) {
        return false;
    }
    changes_.emplace_hint(after, at, std::move(bytes));
    return true;
}

void Splice::write(const std::function<void(Bytes)>& sink) const {
    std::uint64_t done = 0;
    const auto pass_on = [&](std::uint64_t end) {
        static constexpr std::array<unsigned char, kZeros> kNothing{};
        while (done < end) {
            const Part& from = *std::prev(std::ranges::upper_bound(parts_, done, {}, &Part::begin));
            const std::uint64_t inside = done - from.begin;
            auto count = static_cast<std::size_t>(std::min(end - done, from.length - inside));
            if (from.bytes.empty()) {
                count = std::min(count, kNothing.size());
                sink(Bytes(kNothing).first(count));
            } else {
                sink(from.bytes.subspan(static_cast<std::size_t>(inside), count));
            }
            done += count;
        }
    };
    for (const auto& [at, bytes] : changes_) {
        pass_on(at);
        sink(bytes);
        done = at + bytes.size();
    }
    pass_on(size_);
}

} // namespace raw_mend
