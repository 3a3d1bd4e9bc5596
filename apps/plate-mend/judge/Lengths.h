#pragma once

#include "judge/Judge.h"
#include "judge/RawDecoder.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// "2 bytes follow the image data of the damaged file".
[[nodiscard]] std::string describe_bytes_after_image(std::uint64_t count);

/// Whether the image is the last thing in the sample, and each of its rows takes the same number of bytes.
///
///   decoder  has opened a photograph from the same camera
[[nodiscard]] bool is_image_last(const std::filesystem::path& sample, const RawDecoder& decoder);

/// Compares the length of a damaged CR3 with its own tables. Returns what differs, in words; nothing for
/// other formats. Where bytes are missing or left over, any row may be displaced.
[[nodiscard]] std::vector<std::string> compare_with_tables(const std::filesystem::path& damaged);

/// What the length of the image data shows.
struct Lengths {
    std::vector<std::string> findings; ///< In words.
    bool place_unknown = false;        ///< Bytes are lost or left over, and nothing shows where.
    // Only where each row takes the same number of bytes:
    double rows_there = 0;      ///< Rows of the sensor for which there are bytes.
    bool lost_inside = false;   ///< Bytes are missing, but perhaps not at the end.
    bool image_is_last = false; ///< Nothing follows the image in the sample. False where it was not asked.
};

/// Compares the length of the image data with the picture's size and the sample's length.
///
///   decoder      has opened the result
///   result_size  of the file, in bytes
///   image        offset of the image data in the result
[[nodiscard]] Lengths compare_lengths(const JudgeRequest& request, const RawDecoder& decoder,
                                      std::uint64_t result_size, std::uint64_t image);

} // namespace plate_mend::host
