#pragma once

#include "record/Record.h"

#include <cstdint>
#include <filesystem>
#include <optional>

namespace plate_mend::host {

/// What is to be judged.
struct JudgeRequest {
    std::filesystem::path result;  ///< The RAW file.
    std::filesystem::path damaged; ///< What it was made from. Empty: the result is judged by itself.
    std::filesystem::path sample;  ///< As above.
    std::filesystem::path picture; ///< Where a small upright JPEG of the result goes. Empty: nowhere.
    std::uint64_t filled = 0;      ///< Bytes at the end of the result that stand in for lost ones.
    bool lost_in_preview = false;  ///< Some of these may be missing before the end of the preview.
    std::optional<FoundImage> image = std::nullopt; ///< If the raw engine made the result.
};

/// How many bytes the result lacks at its end, by the sample: decoders refuse a truncated file, but with so
/// many zeros in place of what is lost they deliver the rows that are there. 0 where nothing is known to be
/// missing.
[[nodiscard]] std::uint64_t missing_at_the_end(const std::filesystem::path& result,
                                               const std::filesystem::path& sample);

/// Decodes a RAW file with LibRaw and looks for signs of damage: in what LibRaw counts, in the sensor data,
/// in where the compressed data end, in sizes that differ from the sample's, and in bytes that are not the
/// damaged file's. Throws std::bad_alloc; LibRaw may crash or hang on hostile files, so this runs in a
/// worker.
[[nodiscard]] Judgement judge_raw(const JudgeRequest& request);

} // namespace plate_mend::host
