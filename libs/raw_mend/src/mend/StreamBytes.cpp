#include "mend/StreamBytes.h"

#include <algorithm>
#include <utility>

namespace raw_mend {

StreamBytes::StreamBytes(Bytes file, std::uint64_t offset, std::uint64_t most) : file_(file), most_(most) {
    const std::uint64_t length = std::min<std::uint64_t>(most, file.size() - offset);
    first_ = file.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(length));
    runs_.push_back({offset, offset + length});
}

void StreamBytes::continue_at(std::uint64_t length, std::uint64_t offset) {
    const Bytes all = bytes();
    const Bytes kept = all.first(static_cast<std::size_t>(length));
    const std::uint64_t more =
        std::min<std::uint64_t>(most_ - std::min(most_, length), file_.size() - offset);
    std::vector<unsigned char> joined;
    joined.reserve(static_cast<std::size_t>(length + more));
    joined.assign(kept.begin(), kept.end());
    const Bytes tail = file_.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(more));
    joined.insert(joined.end(), tail.begin(), tail.end());
    joined_ = std::make_shared<const std::vector<unsigned char>>(std::move(joined));
    std::uint64_t left = length;
    std::size_t count = 0;
    for (; count < runs_.size() && left > 0; ++count) {
        const std::uint64_t taken = std::min(left, runs_[count].length());
        runs_[count].end = runs_[count].begin + taken;
        left -= taken;
    }
    runs_.resize(count);
    runs_.push_back({offset, offset + more});
}

std::uint64_t StreamBytes::offset_of(std::uint64_t position) const {
    std::uint64_t left = position;
    for (const ByteRange& run : runs_) {
        if (left < run.length()) {
            return run.begin + left;
        }
        left -= run.length();
    }
    return runs_.back().end;
}

bool StreamBytes::has_used(std::uint64_t offset, std::uint64_t length) const {
    std::uint64_t left = length;
    for (const ByteRange& run : runs_) {
        const std::uint64_t used = std::min(left, run.length());
        if (offset >= run.begin && offset - run.begin < used) {
            return true;
        }
        left -= used;
    }
    return false;
}

} // namespace raw_mend
