#pragma once

#include "Bytes.h"
#include "jpeg/BlockDecoder.h"
#include "jpeg/EntropySegments.h"
#include "jpeg/MarkerSegments.h"
#include "jpeg/UnitGrid.h"

#include <cstddef>

namespace still_mend {

/// One scan of a picture with several, and where its data are.
struct ScanSource {
    Scan scan;
    Tables tables;
    std::size_t offset = 0; ///< Of the entropy-coded data.
    std::size_t limit = 0;  ///< One after the last byte that can belong to them.
};

/// The units of a scan, and its restart intervals. What it refers to must outlive it.
class ScanLayout {
  public:
    /// Without a restart interval at first: all units are one.
    ScanLayout(Bytes file, const Frame& frame, const ScanSource& source);

    void set_interval(std::size_t units) { interval_ = units; }

    [[nodiscard]] const ScanSource& source() const { return source_; }
    [[nodiscard]] const UnitGrid& grid() const { return grid_; }
    [[nodiscard]] std::size_t units() const { return units_; }
    /// Units from restart to restart.
    [[nodiscard]] std::size_t interval() const { return interval_; }
    [[nodiscard]] std::size_t intervals() const { return (units_ - 1) / interval_ + 1; }

    /// The entropy-coded segments of the scan.
    [[nodiscard]] EntropySegmentWalk segments() const { return {file_, source_.offset, source_.limit, true}; }
    /// At the first bit of a segment.
    [[nodiscard]] BitReader reader_of(const EntropySegment& segment) const {
        return {file_.first(source_.limit), segment.begin};
    }

    /// Whether a restart marker is the first marker in the data.
    [[nodiscard]] bool begins_with_restarts() const;

    /// Decodes a segment without keeping anything, at most this many units. Returns after how many its bits
    /// end, if that is not before the least; 0 if they do not end with a unit.
    [[nodiscard]] std::size_t units_until_close(BlockDecoder& decoder, const EntropySegment& segment,
                                                std::size_t least, std::size_t most) const;

    /// The restart interval that most of the first segments have; 0 where none ends with a unit.
    [[nodiscard]] std::size_t infer_interval(BlockDecoder& decoder) const;

    /// Whether half of the first intervals end where they must, or there are hardly any.
    [[nodiscard]] bool mostly_closes(BlockDecoder& decoder) const;

  private:
    Bytes file_;
    const ScanSource& source_;
    UnitGrid grid_;
    std::size_t units_;
    std::size_t interval_;
};

} // namespace still_mend
