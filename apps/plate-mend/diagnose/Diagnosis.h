#pragma once

#include "diagnose/DamagedSpans.h"
#include "diagnose/Landmarks.h"
#include "files/JpegFinder.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace plate_mend::host {

/// What is left of a damaged file, as far as it is visible without a repair.
struct Diagnosis {
    std::string path; ///< UTF-8.
    std::uint64_t size = 0;
    std::optional<RawFormat> format; ///< By the extension; nothing when no repair supports it.
    std::vector<DamagedSpan> spans;
    Landmarks landmarks;
    std::optional<double> image_spoilt; ///< Share of the image data in damaged spans or past the end, 0 to 1.
    std::vector<JpegFound> jpegs;       ///< The first 64 with a size.
    std::optional<std::string> sample;  ///< Path of the sample, if there is one.
    std::string sample_problem;         ///< Why the sample cannot be used; empty if it can.
    std::string repair;                 ///< What a repair with a sample will probably achieve.
    std::string salvage;                ///< The same for a salvage.
};

/// Examines a file, and a sample for what a repair takes from it. Writes nothing. Files of 2 GiB or more are
/// refused, since no repair reads them. Takes linear time, and about 20 MiB of memory whatever the size: the
/// files are mapped. Throws std::runtime_error with a message for the user when a file cannot be read or
/// memory runs out; the message names the sample if it is at fault, but not the file, which the caller has to
/// name.
///
/// Access to a mapped file may end the process if the file shrinks or its disk fails meanwhile, so call this
/// in a worker.
[[nodiscard]] Diagnosis diagnose(const std::filesystem::path& file,
                                 const std::optional<std::filesystem::path>& sample = std::nullopt);

/// For people: lines that end with a line break. Only the longest spans are included if there are many.
/// Throws as diagnose.
[[nodiscard]] std::string describe(const Diagnosis& diagnosis);

/// For programs: one line of JSON, without the line break; docs/host-json.md describes it. Throws as
/// diagnose.
[[nodiscard]] std::string to_json_line(const Diagnosis& diagnosis);

} // namespace plate_mend::host
