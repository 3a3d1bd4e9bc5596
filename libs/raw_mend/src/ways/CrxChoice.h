#pragma once

#include "locate/CrxPlaces.h"

#include <string>
#include <vector>

namespace raw_mend {

/// Which of the places in a damaged file is an item of the sample's row.
struct CrxChoice {
    const CrxPlace* place = nullptr; ///< Null if none is that item.
    bool ends = false;               ///< It ends where it must.
    bool unique = false;             ///< There is no doubt that it is this one.
    std::vector<std::string> doubts; ///< Sentences.
};

/// Chooses the place for an item. A place ends where it must if its data decode to their end; if the sample's
/// are coded in a way that cannot be checked, if no part is blank, and what must follow it does, or a
/// surviving table states its length. Of several that end where they must, one is certain only if all that
/// can be said for any other can be said for it too, and more: a surviving table states its length, it is
/// about where the sample has the item, or it is as far before the end of the file.
[[nodiscard]] CrxChoice choose_crx_place(Bytes sample, Bytes damaged, const CrxPlaces& places,
                                         const MediaRow& row, std::size_t item);

} // namespace raw_mend
