#pragma once

#include "Bytes.h"
#include "header/PictureCandidates.h"

#include <cstddef>
#include <vector>

namespace still_mend {

/// The pieces that a file may be made of: a file system keeps it in clusters, so that a fragment begins at a
/// multiple of their size. What follows an EOI may be one, too: data of another JPEG that end there.
class FilePieces {
  public:
    /// Those from this offset on, a multiple of the cluster size; what precedes it is in its place. The file
    /// must outlive it.
    FilePieces(Bytes file, std::size_t cluster, std::size_t first);

    /// Where pieces may begin.
    [[nodiscard]] const std::vector<std::size_t>& starts() const { return starts_; }
    /// From a start to the next multiple of the cluster size, or to the one after it if that is near. Empty
    /// at the end of the file.
    [[nodiscard]] Range at(std::size_t start) const;
    [[nodiscard]] Bytes bytes(const Range& piece) const { return file_.subspan(piece.first, piece.size()); }

    /// Whether the piece that begins here is not yet taken.
    [[nodiscard]] bool is_free(std::size_t start) const;
    void take(const Range& piece);

    /// Whether all clusters before this offset, and none after it, are taken or repeat the one before them.
    [[nodiscard]] bool are_taken_up_to(std::size_t offset) const;

  private:
    [[nodiscard]] bool repeats(std::size_t cluster) const;

    Bytes file_;
    std::size_t cluster_;
    std::vector<std::size_t> starts_;
    std::vector<std::size_t> taken_between_; // Starts that are no multiples.
    std::vector<bool> taken_;                // By cluster of the file.
};

} // namespace still_mend
