#pragma once

#include "diagnose/DamagedSpans.h"
#include "diagnose/JpegFinder.h"
#include "diagnose/Landmarks.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace plate_mend::host {

/// What is left of a damaged file, as far as it shows without a repair.
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

/// Looks at a file, and at a sample for what a repair takes from it. Writes nothing. Files of 2 GiB and more
/// are refused, since no repair reads them. Takes linear time, and some 20 MiB of memory whatever the size:
/// the files are mapped. Throws std::runtime_error with words for the user when a file cannot be read or
/// memory runs out; they name the sample where it is at fault, and leave it to the caller to name the file.
///
/// An access to a mapped file may end the process, when the file shrinks or its disk fails meanwhile. So this
/// is best called in a worker.
[[nodiscard]] Diagnosis diagnose(const std::filesystem::path& file,
                                 const std::optional<std::filesystem::path>& sample = std::nullopt);

/// For people: lines that end with a line break. Of many spans the longest are given. Throws as diagnose.
[[nodiscard]] std::string describe(const Diagnosis& diagnosis);

/// For programs: one line of JSON, without the line break; docs/host-json.md describes it. Throws as
/// diagnose.
[[nodiscard]] std::string to_json_line(const Diagnosis& diagnosis);

} // namespace plate_mend::host
