#pragma once

#include "coding/CrxLayout.h"
#include "coding/MetadataRecords.h"
#include "container/Description.h"
#include "container/JpegHead.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace raw_mend {

/// One sample of a track in an intact CR3, and what is needed to know another photograph's.
struct MediaItem {
    enum class Kind { kCrx, kJpeg, kRecords, kOther };

    Kind kind = Kind::kOther;
    Extent data;
    std::optional<std::size_t> raw_piece{}; ///< Its number among the pieces of the raw image, if it is one.
    CrxLayout layout{};                     ///< Of kCrx.
    std::optional<JpegHead> jpeg{};         ///< Of kJpeg.
    std::vector<MetadataRecord> records{};  ///< Of kRecords.
};

/// The samples of all tracks of an intact CR3 in the order of their offsets.
class MediaRow {
  public:
    /// Nothing if the raw image is not coded as CR3 is, or one of its pieces is not laid out as it must be.
    /// Other samples that overlap one another are left out.
    [[nodiscard]] static std::optional<MediaRow> read(Bytes file, const Description& description);

    [[nodiscard]] const std::vector<MediaItem>& items() const { return items_; }

    /// Whether the nth item, if it begins at one offset and has a length, may be followed by the next one at
    /// another offset: with as many bytes between them as in the intact photograph, or aligned as there.
    [[nodiscard]] bool are_next(std::size_t nth, const Extent& item, std::uint64_t next) const;

    /// Where the next item can begin, in ascending order.
    [[nodiscard]] std::vector<std::uint64_t> next_begins(std::size_t nth, const Extent& item) const;

    /// By how many bytes the padding after an item may differ.
    [[nodiscard]] std::uint64_t slack() const { return alignments_.empty() ? 0 : alignments_.back() - 1; }

    /// Bytes after the last item, to the end of mdat and to the end of the file.
    [[nodiscard]] std::uint64_t after_in_mdat() const { return after_in_mdat_; }
    [[nodiscard]] std::uint64_t after_in_file() const { return after_in_file_; }

  private:
    MediaRow() = default;
    void read_spacing();

    std::vector<MediaItem> items_;
    std::vector<std::uint64_t> alignments_; ///< Powers of two that explain where the items are; else none.
    std::uint64_t after_in_mdat_ = 0;
    std::uint64_t after_in_file_ = 0;
};

} // namespace raw_mend
