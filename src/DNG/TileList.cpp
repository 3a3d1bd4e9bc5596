#include "DNG/TileList.h"

#include "util/Slice.h"

#include <algorithm>

namespace plate_mend {

namespace {

constexpr std::uint64_t kNumberSize = 4;

std::uint32_t number_at(const MMAP& map, std::uint64_t position) {
    std::uint32_t number = 0;
    for (const unsigned char byte : slice(map, position, kNumberSize)) {
        number = number << 8U | byte;
    }
    return number;
}

} // namespace

std::uint64_t TileList::position(std::uint32_t index) const {
    return offset_ + kNumberSize * index;
}

void TileList::keep(const MMAP& map, std::uint64_t first, std::uint64_t last) {
    std::uint64_t index = first <= offset_ ? 0 : (first - offset_) / kNumberSize;
    for (; index < count_ && offset_ + kNumberSize * index < last; ++index) {
        const auto number = static_cast<std::uint32_t>(index);
        if (!kept_.contains(number)) {
            kept_.emplace(number, number_at(map, position(number)));
        }
    }
}

std::vector<ValueSlot> TileList::read(const MMAP& map) const {
    std::vector<ValueSlot> slots;
    slots.reserve(count_);
    auto kept = kept_.begin();
    for (std::uint32_t index = 0; index < count_; ++index) {
        if (kept != kept_.end() && kept->first == index) {
            slots.push_back({position(index), kept->second});
            ++kept;
        } else {
            slots.push_back({position(index), number_at(map, position(index))});
        }
    }
    return slots;
}

} // namespace plate_mend
