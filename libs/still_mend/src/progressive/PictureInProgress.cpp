#include "progressive/PictureInProgress.h"

namespace still_mend {

PictureInProgress::PictureInProgress(Bytes file_bytes, const Frame& frame_header,
                                     CoefficientStore& coefficients, std::size_t end_of_data)
    : file(file_bytes), frame(frame_header), store(coefficients), file_end(end_of_data) {
    for (const auto& component : frame.components) {
        BlockProgress blocks;
        blocks.wide = std::size_t{frame.mcus_wide()} * component.h_samp;
        const std::size_t count = blocks.wide * frame.mcus_high() * component.v_samp;
        blocks.dc.assign(count, false);
        blocks.broken.assign(count, false);
        blocks.unsure.assign(count, false);
        blocks.guessed.assign(count, false);
        blocks.missing_bits.fill(-1);
        progress.push_back(std::move(blocks));
    }
}

void PictureInProgress::mark(const UnitGrid& grid, std::size_t first, std::size_t last,
                             std::vector<bool> BlockProgress::*list) {
    for (std::size_t unit = first; unit < last; ++unit) {
        grid.visit(unit, [&](std::size_t, std::size_t index, std::size_t row, std::size_t column) {
            (progress[index].*list)[row * progress[index].wide + column] = true;
            return true;
        });
    }
}

} // namespace still_mend
