#include "repair/RawEngine.h"

#include "text/Paths.h"

#include <raw_mend/raw_mend.h>

#include <new>
#include <string>

namespace plate_mend::host {

RawRepair run_raw_engine(const std::filesystem::path& damaged, const std::filesystem::path& sample,
                         const std::filesystem::path& output) {
    const std::string sample_name = utf8_from(sample);
    const char* samples = sample_name.c_str();
    RawMendReport report{};
    const std::int32_t code =
        RawMendRepair(utf8_from(damaged).c_str(), &samples, 1, utf8_from(output).c_str(), &report);
    if (code == RAW_MEND_NO_MEMORY) {
        throw std::bad_alloc();
    }
    if (code != RAW_MEND_OK) {
        return {code, std::nullopt};
    }
    return {code, FoundImage{.way = report.way,
                             .notes = report.notes,
                             .pieces = report.piece_count,
                             .pieces_found = report.found_piece_count,
                             .pieces_proved = report.proved_piece_count,
                             .offset = report.image_offset}};
}

} // namespace plate_mend::host
