#pragma once

#include "locate/CrxPlaces.h"

#include <string>
#include <utility>
#include <vector>

namespace raw_mend {

/// Which of the places in a damaged file is an item of the sample's row.
struct CrxChoice {
    const CrxPlace* place = nullptr; ///< Null if none is that item.
    bool ends = false;               ///< It ends where it must.
    bool unique = false;             ///< There is no doubt that it is this one.
    std::vector<std::string> doubts; ///< Sentences.
};

/// Chooses places for items. A place ends where it must if its data decode to their end; if the sample's are
/// coded in a way that cannot be checked, if no part is blank, and what must follow it does, or a surviving
/// table states its length. Of several places, one is certain only if all that can be said for any other can
/// be said for it too, and more: a surviving table states its length, it is about where the sample has the
/// item, or it is as far before the end of the file.
class CrxChooser {
  public:
    /// All must outlive this.
    CrxChooser(Bytes sample, Bytes damaged, const CrxPlaces& places, const MediaRow& row);

    [[nodiscard]] CrxChoice choose(std::size_t item) const;

  private:
    struct Evidence;
    [[nodiscard]] std::vector<Evidence> collect(std::size_t item) const;

    Bytes sample_;
    Bytes damaged_;
    const CrxPlaces& places_;
    const MediaRow& row_;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> tables_; ///< Lengths and offsets, sorted.
};

} // namespace raw_mend
