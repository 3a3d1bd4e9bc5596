#include "mend/StreamAreas.h"

#include <algorithm>

namespace raw_mend {

namespace {

/// A part of the frame that values fill row by row.
struct Block {
    std::uint64_t left = 0;
    std::uint64_t top = 0;
    std::uint64_t width = 0; // Pixels.
    std::uint64_t height = 0;
};

Area clip(const Frame& frame, std::uint64_t left, std::uint64_t top, std::uint64_t width,
          std::uint64_t height) {
    const std::uint64_t right = std::min<std::uint64_t>(left + width, frame.width);
    const std::uint64_t bottom = std::min<std::uint64_t>(top + height, frame.height);
    if (left >= right || top >= bottom) {
        return {};
    }
    return {static_cast<std::uint32_t>(left), static_cast<std::uint32_t>(top),
            static_cast<std::uint32_t>(right - left), static_cast<std::uint32_t>(bottom - top)};
}

/// Pixels from one index of the block up to another: parts of two rows, and whole rows between.
void add_areas(const Frame& frame, const Block& block, std::uint64_t begin, std::uint64_t end,
               std::vector<Area>& areas) {
    const auto add = [&](std::uint64_t left, std::uint64_t top, std::uint64_t width, std::uint64_t height) {
        const Area area = clip(frame, block.left + left, block.top + top, width, height);
        if (area.width > 0) {
            areas.push_back(area);
        }
    };
    const std::uint64_t first = begin / block.width;
    const std::uint64_t last = end / block.width;
    const std::uint64_t left = begin % block.width;
    const std::uint64_t right = end % block.width;
    if (first == last) {
        add(left, first, right - left, 1);
        return;
    }
    if (left > 0) {
        add(left, first, block.width - left, 1);
    }
    const std::uint64_t whole = first + (left > 0 ? 1 : 0);
    add(0, whole, block.width, last - whole);
    add(0, last, right, 1);
}

std::vector<Block> blocks_of(const Image& raw, std::size_t piece) {
    const Frame& frame = raw.frame;
    std::vector<Block> blocks;
    if (!raw.slices.empty() && raw.pieces.size() == 1) {
        std::uint64_t left = 0;
        for (const std::uint32_t width : raw.slices) {
            blocks.push_back({left, 0, width, frame.height});
            left += width;
        }
        return blocks;
    }
    const std::uint64_t width = std::max(frame.piece_width, 1U);
    const std::uint64_t across = (frame.width + width - 1) / width;
    const std::uint64_t nth = piece;
    return {{nth % std::max<std::uint64_t>(across, 1) * width,
             nth / std::max<std::uint64_t>(across, 1) * frame.piece_height, width, frame.piece_height}};
}

} // namespace

std::vector<Area> areas_of(const Image& raw, std::size_t piece, std::size_t count, const ValueRun& run) {
    const auto blocks = blocks_of(raw, piece);
    const std::uint64_t samples = std::max(raw.frame.samples, 1U);
    std::uint64_t pixels = 0;
    for (const Block& block : blocks) {
        pixels += block.width * block.height;
    }
    if (pixels * samples != count) {
        return area_of_piece(raw, piece);
    }
    const std::uint64_t begin = run.begin / samples;
    const std::uint64_t end = (run.end + samples - 1) / samples;
    std::vector<Area> areas;
    std::uint64_t before = 0;
    for (const Block& block : blocks) {
        const std::uint64_t size = block.width * block.height;
        const std::uint64_t from = std::clamp(begin, before, before + size) - before;
        const std::uint64_t to = std::clamp(end, before, before + size) - before;
        if (from < to) {
            add_areas(raw.frame, block, from, to, areas);
        }
        before += size;
    }
    return areas;
}

std::vector<Area> area_of_piece(const Image& raw, std::size_t piece) {
    std::vector<Area> areas;
    for (const Block& block : blocks_of(raw, piece)) {
        const Area area = clip(raw.frame, block.left, block.top, block.width, block.height);
        if (area.width > 0) {
            areas.push_back(area);
        }
    }
    return areas;
}

} // namespace raw_mend
