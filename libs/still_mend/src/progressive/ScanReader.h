#pragma once

#include "jpeg/BlockDecoder.h"
#include "jpeg/CoefficientStore.h"
#include "jpeg/EntropySegments.h"
#include "jpeg/UnitGrid.h"
#include "progressive/BlockProgress.h"
#include "progressive/IntervalPath.h"
#include "progressive/MultiScan.h"

#include <cstdint>
#include <vector>

namespace still_mend {

/// One scan of a picture with several, and where its data stand.
struct ScanSource {
    Scan scan;
    Tables tables;
    std::size_t offset = 0; ///< Of the entropy-coded data.
    std::size_t limit = 0;  ///< One behind the last byte that can belong to them.
};

/// Decodes scans into a store, and keeps count of what is there.
class ScanReader {
  public:
    /// file_end: where the data of the picture end, be it within a scan. All that is referred to must outlive
    /// the reader.
    ScanReader(Bytes file, const Frame& frame, CoefficientStore& store, std::size_t file_end);

    /// What became of a scan: offsets in the file.
    struct Outcome {
        bool whole = false;
        std::size_t end = 0;       ///< The marker at which the scan ends.
        std::size_t first_bad = 0; ///< About where it is damaged, unless it is whole.
    };

    /// Decodes a scan. All tables must be there. Refining: the scan that refines it next, if it is whole.
    Outcome read(const ScanSource& source, const ScanSource* refining = nullptr);

    /// Whether eight intervals of a scan are lost, or a multiple, without a gap in the numbers of the
    /// markers. Where is told best when all else of the picture is there.
    [[nodiscard]] bool has_hidden_loss(const ScanSource& source);

    void finish(MultiScanResult& result) const;

  private:
    struct Place {
        std::uint32_t interval = 0;
        bool sure = true;
    };
    struct Passage {
        std::size_t failed = 0; // Blocks.
        bool closes = false;
    };

    BlockDecoder begin(const ScanSource& source);
    [[nodiscard]] std::size_t interval_of(BlockDecoder& decoder);
    [[nodiscard]] std::size_t units_until_close(BlockDecoder& decoder, const EntropySegment& piece,
                                                std::size_t least, std::size_t most) const;
    [[nodiscard]] bool mostly_closes(BlockDecoder& decoder) const;

    [[nodiscard]] EntropySegmentWalk pieces() const {
        return EntropySegmentWalk(file_, source_->offset, source_->limit, true);
    }
    [[nodiscard]] std::size_t intervals() const { return (units_ - 1) / interval_ + 1; }
    [[nodiscard]] std::vector<Place> places_by_number() const;
    [[nodiscard]] std::size_t hidden_eights(const std::vector<Place>& places) const;
    [[nodiscard]] std::vector<BitReader> starts_of(const ScanSource& source) const;
    void place_by_fit(BlockDecoder& decoder, std::vector<Place>& places, std::size_t eights,
                      const ScanSource* refining) const;

    Outcome read_pieces(BlockDecoder& decoder, const std::vector<Place>& places);
    std::size_t read_interval(BlockDecoder& decoder, const EntropySegment& piece, std::size_t first,
                              std::size_t count);
    [[nodiscard]] bool has_broken(std::size_t first, std::size_t count) const;
    bool closes_on_what_is_there(BlockDecoder& decoder, const EntropySegment& piece, std::size_t first,
                                 std::size_t count);
    bool ends_behind_damage(BlockDecoder& decoder, const EntropySegment& piece, std::size_t first,
                            std::size_t count);
    Passage read_over_damage(BlockDecoder& decoder, const EntropySegment& piece, std::size_t first,
                             std::size_t count, bool taking);
    bool read_unit(BlockDecoder& decoder, BitReader& reader, std::size_t unit);
    void mark_unsure(std::size_t first, std::size_t last);
    void mark_broken(std::size_t first, std::size_t last);

    [[nodiscard]] UnitGrid grid() const { return {frame_, source_->scan}; }
    [[nodiscard]] BitReader reader_of(const EntropySegment& piece) const {
        return {file_.first(source_->limit), piece.begin};
    }
    [[nodiscard]] bool refines_ac() const { return source_->scan.refines_ac(); }
    [[nodiscard]] bool gives_dc() const { return source_->scan.begins_dc(); }

    Bytes file_;
    const Frame& frame_;
    CoefficientStore& store_;
    std::size_t file_end_;
    std::vector<BlockProgress> progress_;
    std::size_t inferred_interval_ = 0;
    // Of the scan that is read:
    const ScanSource* source_ = nullptr;
    std::size_t units_ = 0;
    std::size_t interval_ = 0;
    bool last_closed_ = false;  // The interval read last ended where it must.
    bool last_cut_ = false;     // The file ended within it.
    bool reads_broken_ = false; // It refines, and ends where it must whatever was lost before.
};

} // namespace still_mend
