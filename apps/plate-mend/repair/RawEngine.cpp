#include "repair/RawEngine.h"

#include "text/Paths.h"

#include <raw_mend/raw_mend.h>

#include <new>
#include <string>
#include <vector>

namespace plate_mend::host {

namespace {

std::vector<FrameArea> areas_of(const std::vector<RawMendArea>& areas, std::uint32_t kind) {
    std::vector<FrameArea> some;
    for (const RawMendArea& area : areas) {
        if (area.kind == kind) {
            some.push_back({area.left, area.top, area.width, area.height});
        }
    }
    return some;
}

} // namespace

RawRepair run_raw_engine(const std::filesystem::path& damaged, const std::filesystem::path& sample,
                         const std::filesystem::path& output, bool fill) {
    const std::string sample_name = utf8_from(sample);
    const char* samples = sample_name.c_str();
    const RawMendOptions options{.flags = (fill ? 0U : std::uint32_t{RAW_MEND_NO_FILL}) |
                                          (output.empty() ? std::uint32_t{RAW_MEND_NO_OUTPUT} : 0U),
                                 .reserved = 0};
    RawMendReport report{};
    std::vector<RawMendArea> areas(RAW_MEND_MOST_AREAS);
    std::uint32_t count = 0;
    const std::int32_t code =
        RawMendRepairImage(utf8_from(damaged).c_str(), &samples, 1, utf8_from(output).c_str(), &options,
                           &report, areas.data(), RAW_MEND_MOST_AREAS, &count);
    if (code == RAW_MEND_NO_MEMORY) {
        throw std::bad_alloc();
    }
    if (code != RAW_MEND_OK) {
        return {code, std::nullopt};
    }
    areas.resize(count);
    return {code, FoundImage{.way = report.way,
                             .notes = report.notes,
                             .pieces = report.piece_count,
                             .pieces_found = report.found_piece_count,
                             .pieces_proved = report.proved_piece_count,
                             .offset = report.image_offset,
                             .pieces_mended = report.mended_piece_count,
                             .frame_width = report.frame_width,
                             .frame_height = report.frame_height,
                             .pixels = report.pixel_count,
                             .pixels_lost = report.lost_pixel_count,
                             .pixels_doubtful = report.doubtful_pixel_count,
                             .filled = fill,
                             .lost = areas_of(areas, RAW_MEND_AREA_LOST),
                             .doubtful = areas_of(areas, RAW_MEND_AREA_DOUBTFUL)}};
}

} // namespace plate_mend::host
