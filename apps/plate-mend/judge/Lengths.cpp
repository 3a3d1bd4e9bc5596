#include "judge/Lengths.h"

#include "files/FileBytes.h"
#include "files/Formats.h"
#include "judge/Cr3Tables.h"
#include "judge/FoundPieces.h"
#include "text/Format.h"

#include <algorithm>
#include <optional>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// Fewer rows than these may be lost anywhere, and all that follows that place is shifted; a cut takes more.
constexpr double kRowsOfACut = 8;

/// The image is last in the sample where no more rows than these would fit into what follows its start: 1 %
/// and 16 more than it has.
constexpr double kRoomForRows = 1.01;
constexpr double kMoreRows = 16;

std::string describe_filled(std::uint64_t filled) {
    return filled == 1 ? "1 byte is lost; a zero takes its place at the end"
                       : format_count(filled, "byte") + " are lost; zeros take their place at the end";
}

/// How many bytes of the sample follow the start of its image. Nothing when its image is not of the result's
/// kind and size.
std::optional<std::uint64_t> image_length_in_sample(const fs::path& sample, const RawDecoder& result) {
    RawDecoder decoder;
    FileBytes bytes(sample);
    if (sample.empty() || !decoder.open(sample) || decoder.sensor_columns() != result.sensor_columns() ||
        decoder.sensor_rows() != result.sensor_rows() || !decoder.has_fixed_rate()) {
        return std::nullopt;
    }
    const std::uint64_t image = decoder.image_offset(bytes);
    return image < bytes.size() ? std::optional(bytes.size() - image) : std::nullopt;
}

/// Whether the last bytes of a file only fill it up.
bool ends_with_slack(const fs::path& file, std::uint64_t count) {
    FileBytes bytes(file);
    return bytes.only_slack_after(bytes.size() - count);
}

/// Whether nothing but the image fits into so many bytes.
bool has_room_for_image_only(std::uint64_t length, const RawDecoder& decoder) {
    return decoder.rows_in(length) <= decoder.sensor_rows() * kRoomForRows + kMoreRows;
}

void compare_with_sample(const JudgeRequest& request, const RawDecoder& decoder, std::uint64_t length,
                         Lengths& lengths) {
    const auto expected = image_length_in_sample(request.sample, decoder);
    if (!expected) {
        return;
    }
    // Only where the image is the last thing in the sample does its length show anything.
    lengths.image_is_last = has_room_for_image_only(*expected, decoder);
    if (!lengths.image_is_last || length == *expected) {
        return;
    }
    const bool longer = length > *expected;
    const std::uint64_t difference = longer ? length - *expected : *expected - length;
    const bool is_proved_image = request.image && is_proved(*request.image);
    if (longer && (is_proved_image ||
                   ends_with_slack(request.damaged.empty() ? request.result : request.damaged, difference))) {
        return;
    }
    lengths.findings.push_back("the image data are " + format_count(difference, "byte") +
                               (longer ? " longer" : " shorter") + " than the sample's");
    lengths.place_unknown = true;
}

} // namespace

std::string describe_bytes_after_image(std::uint64_t count) {
    return format_count(count, "byte") + (count == 1 ? " follows" : " follow") +
           " the image data of the damaged file";
}

bool is_image_last(const fs::path& sample, const RawDecoder& decoder) {
    const auto length = decoder.has_fixed_rate() ? image_length_in_sample(sample, decoder) : std::nullopt;
    return length && has_room_for_image_only(*length, decoder);
}

std::vector<std::string> compare_with_tables(const fs::path& damaged) {
    if (format_of(damaged) != RawFormat::kCr3) {
        return {};
    }
    std::vector<std::string> findings;
    const TracksEnd tracks = end_of_tracks(damaged);
    if (tracks.missing != 0) {
        findings.push_back("the damaged file is " + format_count(tracks.missing, "byte") +
                           " shorter than its tables say");
    }
    if (tracks.after != 0) {
        findings.push_back(describe_bytes_after_image(tracks.after));
    }
    return findings;
}

Lengths compare_lengths(const JudgeRequest& request, const RawDecoder& decoder, std::uint64_t result_size,
                        std::uint64_t image) {
    Lengths lengths;
    const bool filled = request.filled != 0;
    if (filled) {
        lengths.findings.push_back(describe_filled(request.filled));
    }
    if (!decoder.has_fixed_rate()) {
        lengths.place_unknown = filled;
        return lengths;
    }
    const std::uint64_t length = result_size - std::min(result_size, image + request.filled);
    lengths.rows_there = decoder.rows_in(length);
    lengths.lost_inside =
        filled && (decoder.rows_in(request.filled) < kRowsOfACut || request.lost_in_preview);
    if (!filled && format_of(request.damaged) != RawFormat::kDng) {
        compare_with_sample(request, decoder, length, lengths);
    }
    return lengths;
}

} // namespace plate_mend::host
