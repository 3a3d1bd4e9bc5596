#include "ways/CrxNeighbours.h"

#include "coding/JpegEnd.h"
#include "container/JpegHead.h"

#include <algorithm>
#include <array>

namespace raw_mend {

namespace {

using Kind = MediaItem::Kind;

constexpr unsigned kMostStarts = 64; // Of JPEGs that are tried.
constexpr std::uint64_t kMostTimesLonger = 4;
constexpr std::uint64_t kLeastLength = 65536;

class Neighbours {
  public:
    Neighbours(Bytes damaged, const CrxPlaces& places, const MediaRow& row)
        : damaged_(damaged), places_(places), row_(row), found_(row.items().size()) {}

    FoundItems find(std::size_t item, const Extent& found) {
        found_[item] = found;
        for (std::size_t next = item + 1; next < found_.size(); ++next) {
            found_[next] = find_after(next);
            if (!found_[next]) {
                break;
            }
        }
        for (std::size_t before = item; before-- > 0;) {
            found_[before] = find_before(before);
            if (!found_[before]) {
                break;
            }
        }
        return found_;
    }

  private:
    std::optional<Extent> find_after(std::size_t item) const {
        for (const std::uint64_t begin : row_.next_begins(item - 1, *found_[item - 1])) {
            if (const auto extent = extent_at(item, begin)) {
                return extent;
            }
        }
        return std::nullopt;
    }

    std::optional<Extent> extent_at(std::size_t item, std::uint64_t begin) const {
        const MediaItem& like = row_.items()[item];
        std::optional<std::uint64_t> end;
        if (like.kind == Kind::kCrx) {
            const CrxPlace* const place = places_.find(item, begin);
            end = place != nullptr && place->is_within(damaged_) ? std::optional(place->data.end())
                                                                 : std::nullopt;
        } else if (like.kind == Kind::kRecords) {
            end = find_records_end(damaged_, begin, like.records);
        } else if (like.kind == Kind::kJpeg) {
            end = is_jpeg_like(item, begin) ? find_jpeg_end(damaged_, begin) : std::nullopt;
        }
        return end ? std::optional(Extent{begin, *end - begin}) : std::nullopt;
    }

    std::optional<Extent> find_before(std::size_t item) const {
        const std::uint64_t next = found_[item + 1]->offset;
        switch (row_.items()[item].kind) {
        case Kind::kCrx:
            return find_crx_before(item, next);
        case Kind::kJpeg:
            return find_jpeg_before(item, next);
        case Kind::kRecords:
        case Kind::kOther:
            break;
        }
        return std::nullopt;
    }

    std::optional<Extent> find_crx_before(std::size_t item, std::uint64_t next) const {
        for (const CrxPlace& place : places_.all()) {
            if (places_.find(item, place.data.offset) == &place && row_.are_next(item, place.data, next)) {
                return place.data;
            }
        }
        return std::nullopt;
    }

    /// The last JPEG of the sample's size that ends where the next item needs it.
    std::optional<Extent> find_jpeg_before(std::size_t item, std::uint64_t next) const {
        constexpr std::array<unsigned char, 3> kSoi{0xFF, 0xD8, 0xFF};
        const std::uint64_t farthest = kMostTimesLonger * row_.items()[item].data.length + kLeastLength;
        const std::uint64_t least = next > farthest ? next - farthest : 0;
        Bytes before =
            damaged_.subspan(static_cast<std::size_t>(least), static_cast<std::size_t>(next - least));
        for (unsigned tried = 0; tried < kMostStarts; ++tried) {
            const auto start = std::ranges::find_end(before, kSoi);
            if (start.empty()) {
                break;
            }
            const auto inside = static_cast<std::size_t>(start.begin() - before.begin());
            const std::uint64_t begin = least + inside;
            if (is_jpeg_like(item, begin)) {
                const auto end = find_jpeg_end(damaged_.first(static_cast<std::size_t>(next)), begin);
                const Extent extent{begin, end ? *end - begin : 0};
                return end && row_.are_next(item, extent, next) ? std::optional(extent) : std::nullopt;
            }
            before = before.first(inside);
        }
        return std::nullopt;
    }

    [[nodiscard]] bool is_jpeg_like(std::size_t item, std::uint64_t begin) const {
        const std::uint64_t rest = begin < damaged_.size() ? damaged_.size() - begin : 0;
        return read_jpeg_head(damaged_, {begin, rest}) == row_.items()[item].jpeg;
    }

    Bytes damaged_;
    const CrxPlaces& places_;
    const MediaRow& row_;
    FoundItems found_;
};

} // namespace

FoundItems find_neighbours(Bytes damaged, const CrxPlaces& places, const MediaRow& row, std::size_t item,
                           const Extent& found) {
    return Neighbours(damaged, places, row).find(item, found);
}

} // namespace raw_mend
