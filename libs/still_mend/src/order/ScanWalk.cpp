#include "order/ScanWalk.h"

#include "Work.h"
#include "jpeg/EntropySegments.h"
#include "jpeg/Markers.h"

namespace still_mend {

ScanWalk::ScanWalk(Bytes file, const PictureCandidate& candidate, std::size_t end)
    : decoder_(*candidate.frame, *candidate.scan, candidate.tables), total_(candidate.frame->mcus()),
      interval_(candidate.tables.restart_interval),
      traces_(*candidate.frame, *candidate.scan, candidate.tables) {
    bytes_.reserve(file.size());
    append(file.first(end));
    place_.byte = candidate.entropy;
}

void ScanWalk::append(Bytes piece) {
    Work::add(piece.size());
    bytes_.insert(bytes_.end(), piece.begin(), piece.end());
    place_.bytes = bytes_.size();
}

ScanWalk::State ScanWalk::decode(std::size_t most_mcus) {
    const std::size_t most = place_.mcus + most_mcus;
    BitReader reader = reader_at_place();
    Mcu mcu;
    while (place_.mcus < total_) {
        if (place_.needs_restart) {
            const State state = step_over_marker(restart_code(), reader);
            if (state != State::kDone) {
                return state;
            }
            reader = reader_at_place();
        }
        if (place_.mcus == most) {
            return State::kPaused;
        }
        DcState dc = place_.dc;
        if (!decoder_.decode(reader, dc, mcu)) {
            return is_fed(reader) ? State::kBroken : State::kHungry;
        }
        traces_.append(mcu);
        place_.dc = dc;
        place_.byte = reader.byte_of_next_bit();
        place_.bit = reader.next_bit();
        ++place_.mcus;
        place_.needs_restart = interval_ > 0 && place_.mcus % interval_ == 0;
    }
    return step_over_marker(marker::kEoi, reader);
}

void ScanWalk::go_back(const Place& place) {
    place_ = place;
    bytes_.resize(place.bytes);
    traces_.truncate(place.mcus);
}

BitReader ScanWalk::reader_at_place() const {
    BitReader reader(bytes_, place_.byte);
    if (place_.bit > 0) {
        static_cast<void>(reader.get(place_.bit));
    }
    return reader;
}

unsigned char ScanWalk::restart_code() const {
    return static_cast<unsigned char>(marker::kRst0 + (place_.mcus / interval_ - 1) % 8);
}

ScanWalk::State ScanWalk::step_over_marker(unsigned char code, BitReader reader) {
    const bool closes = reader.closes();
    const std::size_t stop = skip_fill(bytes_, reader.stop(), bytes_.size());
    if (stop + 1 >= bytes_.size()) {
        return State::kHungry;
    }
    if (!closes || bytes_[stop + 1] != code) {
        return State::kBroken;
    }
    place_.byte = stop + 2;
    place_.bit = 0;
    place_.dc = {};
    place_.needs_restart = false;
    return State::kDone;
}

} // namespace still_mend
