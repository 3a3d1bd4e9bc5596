#pragma once

#include "support/Bytes.h"
#include "support/TempDir.h"

#include <still_mend/still_mend.h>

#include <cstdint>
#include <filesystem>

namespace test {

/// What the library makes of one file.
struct Salvaged {
    std::int32_t code = STILL_MEND_INTERNAL;
    Bytes output; ///< Empty when nothing was written.
    StillMendReport report{};
};

[[nodiscard]] inline Salvaged salvage(const Bytes& file) {
    const TempDir folder;
    write_file(folder / "damaged", file);
    Salvaged result;
    result.code = MndJpegGeneralRepairReport(utf8(folder / "damaged").c_str(),
                                             utf8(folder / "output").c_str(), &result.report);
    if (std::filesystem::exists(folder / "output")) {
        result.output = read_file(folder / "output");
    }
    return result;
}

} // namespace test
