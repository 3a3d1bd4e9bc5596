#pragma once

#include "Bytes.h"
#include "locate/MediaRow.h"

#include <cstdint>
#include <utility>
#include <vector>

namespace raw_mend {

/// Where a damaged file has the data of a raw track: headers whose lengths agree.
struct CrxPlace {
    Extent data; ///< By its headers; may extend past the end of the file.
    /// The first item of the sample's row with such headers.
    std::size_t structure = 0;
    std::size_t item = 0; ///< The item of the sample's row that it most likely is.
    /// Whether what follows that item in the sample begins where this ends, or the file or its mdat ends
    /// there.
    bool met_after = false;
    bool met_before = false; ///< Whether this begins where what is before the item ends.

    [[nodiscard]] bool is_within(Bytes file) const { return data.is_within(file); }
};

/// The raw tracks in a damaged file.
class CrxPlaces {
  public:
    /// Finds all places, by offset, and which item of the row each of them most likely is. Both must outlive
    /// this. Reads each byte a bounded number of times.
    CrxPlaces(Bytes damaged, const MediaRow& row);

    [[nodiscard]] const std::vector<CrxPlace>& all() const { return places_; }
    /// Whether the places are the row's raw tracks, all of them in their order, each met by what follows it.
    [[nodiscard]] bool is_whole_row() const { return whole_row_; }

    /// The place at an offset that can be an item; null if there is none.
    [[nodiscard]] const CrxPlace* find(std::size_t item, std::uint64_t offset) const;
    /// Whether an item that is no raw track, or can be one, begins at an offset.
    [[nodiscard]] bool begins(std::size_t item, std::uint64_t offset) const;

  private:
    void find_structures();
    void add_places(std::size_t structure);
    void keep_longest();
    [[nodiscard]] bool assign_in_order();
    void assign(CrxPlace& place) const;
    [[nodiscard]] bool is_met_after(std::size_t item, const Extent& data) const;
    [[nodiscard]] bool is_met_before(std::size_t item, const Extent& data) const;
    [[nodiscard]] bool ends_file(const Extent& data) const;
    void collect_ends();
    void collect_nexts();

    Bytes damaged_;
    const MediaRow& row_;
    std::vector<std::size_t> structures_; ///< Of each item.
    std::vector<CrxPlace> places_;
    std::vector<std::uint64_t> media_begins_; ///< Of mdat, sorted; and where their last items end.
    std::vector<std::uint64_t> media_ends_;
    /// Where the item after a raw track can begin, sorted: number and offset.
    std::vector<std::pair<std::size_t, std::uint64_t>> nexts_;
    bool whole_row_ = false;
};

} // namespace raw_mend
