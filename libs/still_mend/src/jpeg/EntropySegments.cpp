#include "jpeg/EntropySegments.h"

#include "Work.h"
#include "jpeg/Markers.h"

#include <algorithm>
#include <cstring>

namespace still_mend {

namespace {

std::size_t find_marker(Bytes file, std::size_t offset, std::size_t limit) {
    while (offset + 1 < limit) {
        const void* found = std::memchr(file.data() + offset, 0xFF, limit - offset - 1);
        if (found == nullptr) {
            return limit;
        }
        offset = static_cast<std::size_t>(static_cast<const unsigned char*>(found) - file.data());
        if (file[offset + 1] != 0x00 && file[offset + 1] != 0xFF) {
            return offset;
        }
        ++offset;
    }
    return limit;
}

} // namespace

std::size_t next_marker(Bytes file, std::size_t offset, std::size_t limit) {
    const std::size_t found = find_marker(file, offset, limit);
    Work::add(std::max(found, offset) - offset + 1);
    return found;
}

std::size_t skip_fill(Bytes file, std::size_t offset, std::size_t limit) {
    while (offset + 1 < limit && file[offset] == 0xFF && file[offset + 1] == 0xFF) {
        ++offset;
    }
    return offset;
}

std::optional<EntropySegment> EntropySegmentWalk::next() {
    while (offset_ < limit_) {
        const std::size_t end = next_marker(file_, offset_, limit_);
        const unsigned char code = end < limit_ ? file_[end + 1] : 0;
        const EntropySegment segment{restart_, adjacent_, offset_, end, code == marker::kEoi};
        const bool usable = usable_;
        usable_ = marker::is_restart(code);
        restart_ = usable_ ? code - marker::kRst0 : -1;
        adjacent_ = usable;
        offset_ = std::min(end + 2, limit_);
        if (usable) {
            return segment;
        }
    }
    return std::nullopt;
}

} // namespace still_mend
