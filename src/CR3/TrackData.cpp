#include "CR3/TrackData.h"

#include "CR3/Box.h"
#include "util/Slice.h"

#include <utility>

namespace plate_mend {

TrackData::TrackData(std::vector<unsigned char> bytes) : own_(std::move(bytes)) {}

TrackData::TrackData(std::shared_ptr<MMAP> file, std::uint32_t count) {
    skip_next_bytes(*file, count);
    if (count != 0) {
        offset_ = file->position() + 1 - count;
        count_ = count;
        file_ = std::move(file);
    }
}

std::vector<unsigned char> TrackData::bytes() const {
    if (!file_) {
        return own_;
    }
    const auto bytes = slice(*file_, offset_, count_);
    return {bytes.begin(), bytes.end()};
}

void TrackData::write(std::ostream& stream) const {
    if (file_) {
        insert_bytes(stream, slice(*file_, offset_, count_));
    } else {
        insert_bytes(stream, own_);
    }
}

} // namespace plate_mend
