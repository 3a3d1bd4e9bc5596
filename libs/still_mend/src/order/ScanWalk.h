#pragma once

#include "Bytes.h"
#include "fit/McuTraces.h"
#include "header/PictureCandidates.h"
#include "jpeg/McuDecoder.h"

#include <cstddef>
#include <vector>

namespace still_mend {

/// Decodes a sequential scan whose bytes are put together piece by piece, and goes back to where it was if a
/// piece is a wrong one. Restart markers must be where they belong, and have the numbers that follow.
class ScanWalk {
  public:
    /// Begins with the bytes of the file before this offset, which is after the header. The candidate has one
    /// scan and all tables. Throws std::bad_alloc, as append does.
    ScanWalk(Bytes file, const PictureCandidate& candidate, std::size_t end);

    /// Appends bytes to those before.
    void append(Bytes piece);

    enum class State {
        kHungry, ///< All bytes that are there decode, and more are needed.
        kPaused, ///< The most MCUs were decoded.
        kDone,   ///< The last MCU was decoded to its last bit, and EOI follows.
        kBroken, ///< There is something that does not belong there.
    };
    /// Decodes at most this many MCUs.
    State decode(std::size_t most_mcus);

    /// How far it has come.
    struct Place {
        std::size_t bytes = 0; ///< That were put together.
        std::size_t mcus = 0;
        std::size_t byte = 0; ///< The next bit's; one after EOI when it is done.
        unsigned bit = 0;     ///< The next bit: 0 is the highest.
        bool needs_restart = false;
        DcState dc;
    };
    [[nodiscard]] const Place& place() const { return place_; }
    /// Goes back to an earlier place: what was appended since is gone.
    void go_back(const Place& place);

    /// Those of the MCUs so far, in their order.
    [[nodiscard]] const McuTraces& traces() const { return traces_; }
    [[nodiscard]] Bytes bytes() const { return bytes_; }

  private:
    [[nodiscard]] BitReader reader_at_place() const;
    /// Whether what the reader met does not depend on bytes that are still to come.
    [[nodiscard]] bool is_fed(const BitReader& reader) const { return reader.stop() + 1 < bytes_.size(); }
    [[nodiscard]] unsigned char restart_code() const;
    /// Hungry, broken, or done: it is after the marker.
    State step_over_marker(unsigned char code, BitReader reader);

    McuDecoder decoder_;
    std::size_t total_;
    std::size_t interval_;
    McuTraces traces_;
    std::vector<unsigned char> bytes_;
    Place place_;
};

} // namespace still_mend
