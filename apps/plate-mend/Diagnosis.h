#pragma once

#include "DamagedSpans.h"
#include "Landmarks.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace plate_mend::host {

/// A JPEG whose header is alive, down to its size. Whether its data are, nobody has looked.
struct JpegFound {
    std::uint64_t offset = 0;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

/// What is left of a damaged file, as far as it can be told without repairing it.
struct Diagnosis {
    std::string path; ///< UTF-8.
    std::uint64_t size = 0;
    std::optional<RawFormat> format; ///< By the extension; nothing when no repair knows it.
    std::vector<DamagedSpan> spans;
    Landmarks landmarks;
    std::optional<double> image_spoilt; ///< Share of the image data in damaged spans or past the end, 0 to 1.
    std::vector<JpegFound> jpegs;       ///< The first 64 with a size.
    std::optional<std::string> sample;  ///< Path of the sample, when one was given.
    std::string sample_problem; ///< Why the sample will not do; empty when nothing is known against it.
    std::string repair;         ///< What a repair with a sample is likely to give, in words.
    std::string salvage;        ///< The same of a salvage.
};

/// Looks at a file, and at a sample for its byte order. Writes nothing. Files of 2 GiB and more are not read,
/// since no repair reads them. Throws std::runtime_error for a file that cannot be read.
[[nodiscard]] Diagnosis diagnose(const std::filesystem::path& file,
                                 const std::optional<std::filesystem::path>& sample = std::nullopt);

/// For people: lines that end with a line break. Of many spans the longest are told.
[[nodiscard]] std::string in_words(const Diagnosis& diagnosis);

/// For programs: one line of JSON, without the line break; docs/host-json.md describes it.
[[nodiscard]] std::string to_json(const Diagnosis& diagnosis);

} // namespace plate_mend::host
