#include "Account.h"

#include <algorithm>
#include <cstddef>
#include <tuple>

namespace raw_mend {

namespace {

constexpr std::size_t kMostOfAKind = RAW_MEND_MOST_AREAS / 2;

std::uint64_t count_pixels(const Area& area) {
    return std::uint64_t{area.width} * area.height;
}

std::uint64_t count_pixels(const std::vector<Area>& areas) {
    std::uint64_t pixels = 0;
    for (const Area& area : areas) {
        pixels += count_pixels(area);
    }
    return pixels;
}

Area whole(const Frame& frame) {
    return {0, 0, frame.width, frame.height};
}

/// The part of an area that is in the frame.
Area clip(const Area& area, const Frame& frame) {
    Area clipped{std::min(area.left, frame.width), std::min(area.top, frame.height), 0, 0};
    clipped.width = std::min(area.width, frame.width - clipped.left);
    clipped.height = std::min(area.height, frame.height - clipped.top);
    return clipped;
}

/// Those parts that are in the frame, from top to bottom.
std::vector<Area> clip(const std::vector<Area>& areas, const Frame& frame) {
    std::vector<Area> clipped;
    clipped.reserve(areas.size());
    for (const Area& area : areas) {
        if (const Area part = clip(area, frame); count_pixels(part) != 0) {
            clipped.push_back(part);
        }
    }
    std::ranges::sort(clipped, {}, [](const Area& area) { return std::tuple(area.top, area.left); });
    return clipped;
}

/// The smallest area around two.
Area around(const Area& one, const Area& other) {
    const auto end = [](std::uint32_t first, std::uint32_t length) { return first + length; };
    Area both{std::min(one.left, other.left), std::min(one.top, other.top), 0, 0};
    both.width = std::max(end(one.left, one.width), end(other.left, other.width)) - both.left;
    both.height = std::max(end(one.top, one.height), end(other.top, other.height)) - both.top;
    return both;
}

/// Fewer areas that cover at least the same pixels: neighbours in the list become one.
std::vector<Area> merge(const std::vector<Area>& areas) {
    const std::size_t together = (areas.size() + kMostOfAKind - 1) / kMostOfAKind;
    if (together <= 1) {
        return areas;
    }
    std::vector<Area> merged;
    for (std::size_t index = 0; index < areas.size(); ++index) {
        if (index % together == 0) {
            merged.push_back(areas[index]);
        } else {
            merged.back() = around(merged.back(), areas[index]);
        }
    }
    return merged;
}

/// The rectangles of an image's pieces in the order of the pieces.
class Grid {
  public:
    Grid(const Frame& frame, std::size_t pieces) : frame_(frame) {
        if (frame.piece_width == 0 || frame.piece_height == 0) {
            return;
        }
        across_ = count(frame.width, frame.piece_width);
        is_known_ = across_ * count(frame.height, frame.piece_height) == pieces;
    }

    /// False where pieces are not one beside and below the other, or there is only one of unknown size.
    [[nodiscard]] bool is_known() const { return is_known_; }

    [[nodiscard]] Area at(std::size_t piece) const {
        const auto column = static_cast<std::uint32_t>(piece % across_);
        const auto row = static_cast<std::uint32_t>(piece / across_);
        return clip(Area{column * frame_.piece_width, row * frame_.piece_height, frame_.piece_width,
                         frame_.piece_height},
                    frame_);
    }

  private:
    static std::uint64_t count(std::uint32_t length, std::uint32_t piece) {
        return (std::uint64_t{length} + piece - 1) / piece;
    }

    const Frame& frame_;
    std::uint64_t across_ = 1;
    bool is_known_ = false;
};

/// Adds an area, or extends the last one by it: pieces are mostly lost in rows.
void append_or_extend(const Area& area, std::vector<Area>& areas) {
    if (!areas.empty()) {
        Area& last = areas.back();
        if (last.top == area.top && last.height == area.height && last.left + last.width == area.left) {
            last.width += area.width;
            return;
        }
        if (last.left == area.left && last.width == area.width && last.top + last.height == area.top) {
            last.height += area.height;
            return;
        }
    }
    areas.push_back(area);
}

/// All of each piece that is not there, except those that were put together anew.
std::vector<Area> missing_pieces(const FoundImage& image, const Frame& frame) {
    std::vector<bool> mended(image.pieces.size());
    for (const MendedPiece& piece : image.mended) {
        if (piece.piece < mended.size()) {
            mended[piece.piece] = true;
        }
    }
    const Grid grid(frame, image.pieces.size());
    std::vector<Area> areas;
    for (std::size_t piece = 0; piece < image.pieces.size(); ++piece) {
        if (image.pieces[piece] || mended[piece]) {
            continue;
        }
        if (!grid.is_known()) {
            return {whole(frame)};
        }
        append_or_extend(grid.at(piece), areas);
    }
    return areas;
}

void append(const std::vector<Area>& areas, std::uint32_t kind, std::vector<RawMendArea>& list) {
    for (const Area& area : merge(areas)) {
        list.push_back({area.left, area.top, area.width, area.height, kind, 0});
    }
}

} // namespace

Account account_for(const FoundImage& image, const Image& raw) {
    std::vector<Area> lost = missing_pieces(image, raw.frame);
    if (lost != std::vector{whole(raw.frame)}) {
        lost.insert(lost.end(), image.lost.begin(), image.lost.end());
    }
    lost = clip(lost, raw.frame);
    const std::vector<Area> doubtful = clip(image.doubtful, raw.frame);
    Account account;
    account.pixels = count_pixels(whole(raw.frame));
    account.lost = std::min(count_pixels(lost), account.pixels);
    account.doubtful = std::min(count_pixels(doubtful), account.pixels - account.lost);
    append(lost, RAW_MEND_AREA_LOST, account.areas);
    append(doubtful, RAW_MEND_AREA_DOUBTFUL, account.areas);
    return account;
}

} // namespace raw_mend
