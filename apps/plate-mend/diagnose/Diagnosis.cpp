#include "diagnose/Diagnosis.h"
#include "diagnose/Sentences.h"

#include "files/Formats.h"
#include "platform/MappedFile.h"
#include "text/Format.h"
#include "text/Paths.h"

#include <algorithm>
#include <new>
#include <stdexcept>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;
using Bytes = std::span<const unsigned char>;

constexpr std::uint64_t kMostBytes = (std::uint64_t{1} << 31U) - 1; // What a repair reads.

/// What is wrong with a file that was not mapped, and what to do about it where something can be done.
const char* describe_problem(platform::MapResult result) {
    switch (result) {
    case platform::MapResult::kMissing:
        return "no such file";
    case platform::MapResult::kNoFile:
        return "not a file";
    case platform::MapResult::kForbidden:
        return "may not be read: another program holds it, or you have no permission";
    case platform::MapResult::kTooLong:
        return "2 GiB or more; no repair reads it";
    case platform::MapResult::kNoRoom:
        return kNoMemory;
    case platform::MapResult::kFailed:
    case platform::MapResult::kMapped:
        break;
    }
    return "cannot be read: is the disk or the card still there?";
}

/// Throws std::runtime_error with what is wrong, after the words that name the file.
void map(platform::MappedFile& mapped, const fs::path& file, const std::string& name) {
    const platform::MapResult result = mapped.open(file, kMostBytes);
    if (result != platform::MapResult::kMapped) {
        throw std::runtime_error(name + describe_problem(result));
    }
}

/// Bytes of [first, last) that are in damaged spans. Spans may overlap; each byte counts once.
std::uint64_t count_damaged(const std::vector<DamagedSpan>& spans, std::uint64_t first, std::uint64_t last) {
    std::uint64_t damaged = 0;
    for (const DamagedSpan& span : spans) {
        const std::uint64_t begin = std::max(span.offset, first);
        const std::uint64_t end = std::min(span.offset + span.size, last);
        if (begin < end) {
            damaged += end - begin;
            first = end;
        }
    }
    return damaged;
}

std::optional<double> compute_spoilt_share(const Diagnosis& diagnosis) {
    std::uint64_t all = 0;
    std::uint64_t spoilt = 0;
    for (const ImageData& image : diagnosis.landmarks.images) {
        const std::uint64_t rest = diagnosis.size - std::min(diagnosis.size, image.offset);
        const std::uint64_t size = image.size.value_or(rest);
        const std::uint64_t there = std::min(size, rest);
        all += size;
        spoilt += size - there + count_damaged(diagnosis.spans, image.offset, image.offset + there);
    }
    if (diagnosis.landmarks.images.empty()) {
        return std::nullopt;
    }
    return all == 0 ? 1 : static_cast<double>(spoilt) / static_cast<double>(all);
}

std::string predict_repair(const Diagnosis& diagnosis) {
    if (!diagnosis.format) {
        return "No repair is known for this extension.";
    }
    if (!diagnosis.sample_problem.empty()) {
        return "The sample cannot be used: " + diagnosis.sample_problem + '.';
    }
    if (!diagnosis.landmarks.complete()) {
        return "A repair will not find the image: not all that leads to it is intact.";
    }
    if (!diagnosis.landmarks.obstacle.empty()) {
        return "A repair will not rebuild the photograph: " + diagnosis.landmarks.obstacle + '.';
    }
    const double spoilt = diagnosis.image_spoilt.value_or(0);
    const std::string with = diagnosis.sample ? "A repair with this sample"
                                              : "A repair with an intact photograph from the same camera";
    if (spoilt >= 1) {
        return with + " locates the image, but none of its data survives.";
    }
    const std::string chance = with + " will probably rebuild the photograph";
    return spoilt > 0 ? chance + ", but " + format_share(spoilt) + " of the image data look lost."
                      : chance + '.';
}

std::string predict_salvage(const Diagnosis& diagnosis) {
    if (diagnosis.jpegs.empty()) {
        return "No JPEG with an intact header is inside. A salvage may still find parts of one.";
    }
    const auto largest = std::max_element(
        diagnosis.jpegs.begin(), diagnosis.jpegs.end(), [](const JpegFound& left, const JpegFound& right) {
            return std::uint64_t{left.width} * left.height < std::uint64_t{right.width} * right.height;
        });
    return "A salvage may save a JPEG of " + std::to_string(largest->width) + " x " +
           std::to_string(largest->height) + " pixels: its header is intact; its data were not examined.";
}

/// What a repair takes from the sample, or why it cannot be used.
SampleMarks check_sample(const fs::path& sample, RawFormat format) {
    platform::MappedFile mapped;
    map(mapped, sample, "the sample " + utf8_from(sample) + ": ");
    if (format_of(sample) != format) {
        return {std::string("it is no ") + name_of(format), std::nullopt, std::nullopt};
    }
    return read_sample_marks(mapped.bytes(), format);
}

Diagnosis diagnose_mapped(const fs::path& file, const std::optional<fs::path>& sample) {
    platform::MappedFile mapped;
    map(mapped, file, "");
    const Bytes bytes = mapped.bytes();
    Diagnosis diagnosis;
    diagnosis.path = utf8_from(file);
    diagnosis.size = bytes.size();
    diagnosis.format = format_of(file);
    diagnosis.spans = find_damaged_spans(bytes);
    diagnosis.jpegs = find_jpegs(bytes);
    SampleMarks marks;
    if (sample) {
        diagnosis.sample = utf8_from(*sample);
        if (diagnosis.format) {
            marks = check_sample(*sample, *diagnosis.format);
            diagnosis.sample_problem = marks.problem;
        }
    }
    if (diagnosis.format) {
        diagnosis.landmarks = find_landmarks(bytes, *diagnosis.format, marks.big_endian);
        const auto& tiles = diagnosis.landmarks.tiles;
        if (marks.tiles && tiles && *marks.tiles != *tiles) {
            diagnosis.landmarks.obstacle = "its image has other tiles than the sample's";
        }
        diagnosis.image_spoilt = compute_spoilt_share(diagnosis);
    }
    diagnosis.repair = predict_repair(diagnosis);
    diagnosis.salvage = predict_salvage(diagnosis);
    return diagnosis;
}

} // namespace

Diagnosis diagnose(const fs::path& file, const std::optional<fs::path>& sample) {
    return with_sentences([&] { return diagnose_mapped(file, sample); });
}

} // namespace plate_mend::host
