#include "locate/CrxPlaces.h"

#include "locate/TrackTables.h"

#include <algorithm>
#include <array>
#include <utility>

namespace raw_mend {

namespace {

using Kind = MediaItem::Kind;

bool are_zeros(Bytes bytes, std::uint64_t begin, std::uint64_t end) {
    const Extent filler{begin, end - begin};
    return filler.is_within(bytes) &&
           std::ranges::all_of(filler.of(bytes), [](unsigned char byte) { return byte == 0; });
}

/// 0 to 1: 1 for the same length.
double likeness(std::uint64_t one, std::uint64_t two) {
    const auto [less, more] = std::minmax(one, two);
    return more == 0 ? 1 : static_cast<double>(less) / static_cast<double>(more);
}

bool ends_with_eoi(Bytes bytes, std::uint64_t end) {
    return end >= 2 && end <= bytes.size() && bytes[static_cast<std::size_t>(end - 2)] == 0xFF &&
           bytes[static_cast<std::size_t>(end - 1)] == 0xD9;
}

bool begins_with_soi(Bytes bytes, std::uint64_t begin) {
    const Extent start{begin, 3};
    constexpr std::array<unsigned char, 3> kSoi{0xFF, 0xD8, 0xFF};
    return start.is_within(bytes) && std::ranges::equal(start.of(bytes), kSoi);
}

} // namespace

CrxPlaces::CrxPlaces(Bytes damaged, const MediaRow& row) : damaged_(damaged), row_(row) {
    find_structures();
    for (std::size_t item = 0; item < structures_.size(); ++item) {
        if (row.items()[item].kind == Kind::kCrx && structures_[item] == item) {
            add_places(item);
        }
    }
    keep_longest();
    collect_ends();
    collect_nexts();
    whole_row_ = assign_in_order();
    if (!whole_row_) {
        for (CrxPlace& place : places_) {
            assign(place);
        }
    }
}

void CrxPlaces::find_structures() {
    const auto& items = row_.items();
    for (const MediaItem& item : items) {
        const auto first = std::ranges::find_if(items, [&](const MediaItem& other) {
            return &other == &item || (other.kind == Kind::kCrx && item.kind == Kind::kCrx &&
                                       other.layout.has_headers_like(item.layout));
        });
        structures_.push_back(static_cast<std::size_t>(first - items.begin()));
    }
}

void CrxPlaces::add_places(std::size_t structure) {
    const CrxLayout& layout = row_.items()[structure].layout;
    for (const CrxHeads& heads : find_crx_heads(damaged_, layout.heads)) {
        if (are_zeros(damaged_, heads.end(), heads.begin() + layout.header_size)) {
            const std::uint64_t end = heads.begin() + layout.header_size + heads.coded_length();
            places_.push_back({{heads.begin(), layout.length(heads)}, end, structure, 0, false, false});
        }
    }
}

/// The headers of one structure may be some of another's.
void CrxPlaces::keep_longest() {
    const auto headers = [&](const CrxPlace& place) {
        return row_.items()[place.structure].layout.heads.headers.size();
    };
    std::ranges::sort(places_, [&](const CrxPlace& one, const CrxPlace& two) {
        return one.data.offset != two.data.offset ? one.data.offset < two.data.offset
                                                  : headers(one) > headers(two);
    });
    std::uint64_t end = 0;
    std::erase_if(places_, [&](const CrxPlace& place) {
        if (place.data.offset < end) {
            return true;
        }
        end = place.data.offset + row_.items()[place.structure].layout.header_size;
        return false;
    });
}

void CrxPlaces::collect_ends() {
    for (const MediaBox& box : find_media_boxes(damaged_)) {
        media_begins_.push_back(box.begin);
        if (box.end >= row_.after_in_mdat()) {
            media_ends_.push_back(box.end - row_.after_in_mdat());
        }
    }
    std::ranges::sort(media_begins_);
    std::ranges::sort(media_ends_);
}

void CrxPlaces::collect_nexts() {
    for (const CrxPlace& place : places_) {
        for (std::size_t item = 0; item < structures_.size(); ++item) {
            if (structures_[item] == place.structure) {
                for (const std::uint64_t next : row_.next_begins(item, data_as(item, place))) {
                    nexts_.emplace_back(item + 1, next);
                }
            }
        }
    }
    std::ranges::sort(nexts_);
}

const CrxPlace* CrxPlaces::find(std::size_t item, std::uint64_t offset) const {
    const auto place = std::ranges::lower_bound(places_, offset, {},
                                                [](const CrxPlace& found) { return found.data.offset; });
    const bool is_there =
        place != places_.end() && place->data.offset == offset && place->structure == structures_[item];
    return is_there ? &*place : nullptr;
}

Extent CrxPlaces::data_as(std::size_t item, const CrxPlace& place) const {
    const std::uint64_t begin = place.data.offset;
    return {begin, row_.items()[item].layout.pad(place.coded_end - begin)};
}

bool CrxPlaces::ends_file(const Extent& data) const {
    return data.end() + row_.after_in_file() == damaged_.size() ||
           std::ranges::binary_search(media_ends_, data.end());
}

bool CrxPlaces::begins(std::size_t item, std::uint64_t offset) const {
    const MediaItem& like = row_.items()[item];
    switch (like.kind) {
    case Kind::kCrx:
        return find(item, offset) != nullptr;
    case Kind::kJpeg:
        return begins_with_soi(damaged_, offset);
    case Kind::kRecords:
        return begins_like_records(damaged_, offset, like.records);
    case Kind::kOther:
        break;
    }
    // Nothing is known of it except its length.
    return item + 1 == row_.items().size() && offset < damaged_.size() &&
           ends_file({offset, like.data.length});
}

bool CrxPlaces::is_met_after(std::size_t item, const Extent& data) const {
    if (item + 1 == row_.items().size()) {
        return ends_file(data);
    }
    const auto nexts = row_.next_begins(item, data);
    return std::ranges::any_of(nexts, [&](std::uint64_t next) { return begins(item + 1, next); });
}

bool CrxPlaces::is_met_before(std::size_t item, const Extent& data) const {
    if (item == 0) {
        return std::ranges::binary_search(media_begins_, data.offset);
    }
    if (row_.items()[item - 1].kind == Kind::kJpeg) {
        return ends_with_eoi(damaged_, data.offset);
    }
    return std::ranges::binary_search(nexts_, std::pair(item, data.offset));
}

bool CrxPlaces::assign_in_order() {
    auto place = places_.begin();
    for (std::size_t item = 0; item < structures_.size(); ++item) {
        if (row_.items()[item].kind != Kind::kCrx) {
            continue;
        }
        if (place == places_.end() || place->structure != structures_[item] ||
            !is_met_after(item, data_as(item, *place))) {
            return false;
        }
        place->item = item;
        place->data = data_as(item, *place);
        place->met_after = true;
        place->met_before = is_met_before(item, place->data);
        ++place;
    }
    return place == places_.end();
}

void CrxPlaces::assign(CrxPlace& place) const {
    double best = -1;
    Extent chosen = place.data;
    for (std::size_t item = place.structure; item < structures_.size(); ++item) {
        if (structures_[item] != place.structure) {
            continue;
        }
        const bool after = is_met_after(item, place.data);
        const bool before = is_met_before(item, place.data);
        const double score =
            (after ? 4 : 0) + (before ? 2 : 0) + likeness(place.data.length, row_.items()[item].data.length);
        if (score > best) {
            best = score;
            place.item = item;
            place.met_after = after;
            place.met_before = before;
        }
    }
    place.data = chosen;
}

} // namespace raw_mend
