#include "ways/TileSides.h"

#include <lossless_jpeg/Stream.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <span>

namespace raw_mend {

namespace {

using Row = std::span<const std::uint16_t>;

void append(std::vector<std::uint16_t>& samples, Row more) {
    samples.insert(samples.end(), more.begin(), more.end());
}

/// Collects the sides of a tile from its rows.
class SideReader {
  public:
    SideReader(std::size_t rows, unsigned samples_per_pixel)
        : rows_(rows), columns_(samples_per_pixel == 1 ? 2 : samples_per_pixel),
          lines_(samples_per_pixel == 1 ? 2 : 1) {}

    void take(std::size_t row, Row samples) {
        if (row < lines_) {
            append(top.outer, samples);
        } else if (row < 2 * lines_) {
            append(top.inner, samples);
        }
        append(left.outer, samples.first(columns_));
        append(left.inner, samples.subspan(columns_, columns_));
        append(right.outer, samples.last(columns_));
        append(right.inner, samples.last(2 * columns_).first(columns_));
        if (row >= rows_ - lines_) {
            append(bottom.outer, samples);
        } else if (row >= rows_ - 2 * lines_) {
            append(bottom.inner, samples);
        }
    }

    [[nodiscard]] bool has_top() const { return !top.inner.empty() && top.inner.size() == top.outer.size(); }

    TileSide top;
    TileSide left;
    TileSide right;
    TileSide bottom;

  private:
    std::size_t rows_;
    std::size_t
        columns_; // From one sample of a colour to the next: those of a mosaic of two by two, or of a pixel.
    std::size_t lines_;
};

constexpr std::size_t kLeastSize = 16; // Of a tile's sides, in samples: all of a side's lines must fit in.

int middle_of(std::vector<int>& differences) {
    const auto middle = differences.begin() + static_cast<std::ptrdiff_t>(differences.size() / 2);
    std::nth_element(differences.begin(), middle, differences.end());
    return *middle;
}

void append_differences(std::vector<int>& differences, const std::vector<std::uint16_t>& one,
                        const std::vector<std::uint16_t>& other) {
    for (std::size_t nth = 0; nth < one.size(); ++nth) {
        differences.push_back(std::abs(int{one[nth]} - int{other[nth]}));
    }
}

} // namespace

std::optional<TileSides> TileSides::read(Bytes damaged, const CodedPlace& place, const Frame& frame) {
    const auto head = lossless_jpeg::read_head(damaged, place.offset);
    if (!head || !lossless_jpeg::can_decode(*head)) {
        return std::nullopt;
    }
    const std::uint64_t row = std::uint64_t{head->width} * head->components.size();
    if (head->height != frame.piece_height || row != std::uint64_t{frame.piece_width} * frame.samples ||
        row < kLeastSize || head->height < kLeastSize) {
        return std::nullopt;
    }
    SideReader reader(head->height, frame.samples);
    (void)lossless_jpeg::decode(damaged, *head, [&](std::uint64_t nth, Row samples) {
        reader.take(static_cast<std::size_t>(nth), samples);
    });
    if (!reader.has_top()) {
        return std::nullopt;
    }
    TileSides sides;
    sides.top = std::move(reader.top);
    if (place.proved) {
        sides.left = std::move(reader.left);
        sides.right = std::move(reader.right);
        sides.bottom = std::move(reader.bottom);
    }
    return sides;
}

double find_seam(const TileSide& one, const TileSide& other) {
    std::vector<int> across;
    std::vector<int> beside;
    append_differences(across, one.outer, other.outer);
    append_differences(beside, one.inner, one.outer);
    append_differences(beside, other.outer, other.inner);
    return std::max(0.0, std::log((middle_of(across) + 1.0) / (middle_of(beside) + 1.0)));
}

} // namespace raw_mend
