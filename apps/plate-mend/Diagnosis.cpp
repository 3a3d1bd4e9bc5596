#include "Diagnosis.h"

#include "Formats.h"
#include "SafeOutput.h"
#include "report/Text.h"
#include "report/Words.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <fstream>
#include <stdexcept>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;
using Bytes = std::span<const unsigned char>;
using Json = nlohmann::ordered_json;

constexpr std::uint64_t kTooLong = std::uint64_t{1} << 31;
constexpr std::size_t kMostJpegs = 64;
constexpr std::size_t kSpansTold = 8;

std::vector<unsigned char> read_whole(const fs::path& file) {
    const std::string name = utf8_from(file);
    if (!fs::is_regular_file(file)) {
        throw std::runtime_error(name + ": no such file");
    }
    const std::uint64_t size = fs::file_size(file);
    if (size >= kTooLong) {
        throw std::runtime_error(name + ": 2 GiB or more; no repair reads it");
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(size));
    std::ifstream stream(file, std::ios::binary);
    stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!stream) {
        throw std::runtime_error(name + ": cannot be read");
    }
    return bytes;
}

/// The size that the frame header behind a start of image tells; nothing when the segments lead to none.
std::optional<JpegFound> read_jpeg_header(Bytes bytes, std::size_t start) {
    constexpr int kMostSegments = 64;
    std::size_t at = start + 2;
    for (int segment = 0; segment < kMostSegments && at + 9 <= bytes.size() && bytes[at] == 0xFF; ++segment) {
        const unsigned char marker = bytes[at + 1];
        const std::size_t length = static_cast<std::size_t>(bytes[at + 2]) << 8 | bytes[at + 3];
        const bool frame =
            marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        if (frame) {
            const auto height = static_cast<std::uint32_t>(bytes[at + 5] << 8 | bytes[at + 6]);
            const auto width = static_cast<std::uint32_t>(bytes[at + 7] << 8 | bytes[at + 8]);
            const bool lossless = marker == 0xC3;
            return width == 0 || height == 0 || lossless ? std::nullopt
                                                         : std::optional(JpegFound{start, width, height});
        }
        if (marker < 0xC0 || length < 2) {
            return std::nullopt;
        }
        at += 2 + length;
    }
    return std::nullopt;
}

std::vector<JpegFound> find_jpegs(Bytes bytes) {
    constexpr std::array<unsigned char, 3> kStart = {0xFF, 0xD8, 0xFF};
    std::vector<JpegFound> jpegs;
    auto found = bytes.begin();
    while (jpegs.size() < kMostJpegs) {
        found = std::search(found, bytes.end(), kStart.begin(), kStart.end());
        if (found == bytes.end()) {
            break;
        }
        if (const auto jpeg = read_jpeg_header(bytes, static_cast<std::size_t>(found - bytes.begin()))) {
            jpegs.push_back(*jpeg);
        }
        ++found;
    }
    return jpegs;
}

/// Bytes of [first, last) that lie in damaged spans. Spans may overlap; each byte counts once.
std::uint64_t damaged_in(const std::vector<DamagedSpan>& spans, std::uint64_t first, std::uint64_t last) {
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

std::optional<double> share_spoilt(const Diagnosis& diagnosis) {
    std::uint64_t all = 0;
    std::uint64_t spoilt = 0;
    for (const ImageData& image : diagnosis.landmarks.images) {
        const std::uint64_t rest = diagnosis.size - std::min(diagnosis.size, image.offset);
        const std::uint64_t size = image.size.value_or(rest);
        const std::uint64_t there = std::min(size, rest);
        all += size;
        spoilt += size - there + damaged_in(diagnosis.spans, image.offset, image.offset + there);
    }
    return all == 0 ? std::nullopt : std::optional(static_cast<double>(spoilt) / static_cast<double>(all));
}

bool image_begins_inside(const Diagnosis& diagnosis) {
    const auto& images = diagnosis.landmarks.images;
    return !images.empty() && std::all_of(images.begin(), images.end(), [&](const ImageData& image) {
        return image.offset < diagnosis.size;
    });
}

std::string expected_of_repair(const Diagnosis& diagnosis) {
    if (!diagnosis.format) {
        return "No repair is known for this extension.";
    }
    if (!diagnosis.sample_problem.empty()) {
        return "The sample will not do: " + diagnosis.sample_problem + '.';
    }
    if (!diagnosis.landmarks.complete()) {
        return "A repair will not find the image: not all that leads to it is alive.";
    }
    if (!diagnosis.landmarks.obstacle.empty()) {
        return "A repair will not find the image: " + diagnosis.landmarks.obstacle + '.';
    }
    if (!image_begins_inside(diagnosis)) {
        return "A repair will fail: the entries lead past the end of the file.";
    }
    const double spoilt = diagnosis.image_spoilt.value_or(0);
    const std::string with = diagnosis.sample ? "A repair with this sample"
                                              : "A repair with a whole photograph from the same camera";
    if (spoilt >= 1) {
        return with + " finds its way, but nothing of the image data is alive.";
    }
    const std::string chance = with + " is likely to give the photograph back";
    return spoilt > 0 ? chance + ", but " + share_in_words(spoilt) + " of the image data look lost."
                      : chance + '.';
}

std::string expected_of_salvage(const Diagnosis& diagnosis) {
    if (diagnosis.jpegs.empty()) {
        return "No JPEG with a living header is inside. A salvage may still find parts of one.";
    }
    const auto largest = std::max_element(
        diagnosis.jpegs.begin(), diagnosis.jpegs.end(), [](const JpegFound& left, const JpegFound& right) {
            return std::uint64_t{left.width} * left.height < std::uint64_t{right.width} * right.height;
        });
    return "A salvage may give a JPEG of " + std::to_string(largest->width) + " x " +
           std::to_string(largest->height) + " pixels: its header is alive, its data were not looked at.";
}

/// Why the sample will not do. Takes its byte order, which a repair takes for the damaged file's.
std::string judge_sample(const fs::path& sample, RawFormat format, std::optional<bool>& big_endian) {
    const std::vector<unsigned char> bytes = read_whole(sample);
    if (format_of(sample) != format) {
        return std::string("it is no ") + name_of(format);
    }
    const Landmarks marks = find_landmarks(bytes, format);
    if (!marks.complete()) {
        return "its own entries are damaged";
    }
    if (!marks.obstacle.empty()) {
        return marks.obstacle;
    }
    big_endian = marks.big_endian;
    return "";
}

std::string line(const std::string& text) {
    return text + '\n';
}

std::string spans_in_words(const Diagnosis& diagnosis) {
    std::vector<DamagedSpan> spans = diagnosis.spans;
    std::sort(spans.begin(), spans.end(),
              [](const DamagedSpan& left, const DamagedSpan& right) { return left.size > right.size; });
    const std::size_t left_out = spans.size() - std::min(spans.size(), kSpansTold);
    spans.resize(spans.size() - left_out);
    std::sort(spans.begin(), spans.end(),
              [](const DamagedSpan& left, const DamagedSpan& right) { return left.offset < right.offset; });
    std::string text = line("  suspicious bytes:" + std::string(spans.empty() ? " none" : ""));
    for (const DamagedSpan& span : spans) {
        text += line("    " + std::to_string(span.offset) + ": " + in_words(span.kind) + ", " +
                     size_in_words(span.size));
    }
    return left_out == 0 ? text : text + line("    and " + std::to_string(left_out) + " shorter ones");
}

std::string landmarks_in_words(const Diagnosis& diagnosis) {
    std::string text = line("  landmarks:");
    for (const Landmark& mark : diagnosis.landmarks.found) {
        text +=
            line("    " + mark.name + ": " + (mark.offset ? "at " + std::to_string(*mark.offset) : "lost") +
                 (mark.needed ? ", needed" : ""));
    }
    for (const ImageData& image : diagnosis.landmarks.images) {
        text += line("    image data: from " + std::to_string(image.offset) +
                     (image.size ? ", " + size_in_words(*image.size) : ", to the end"));
    }
    return text;
}

Json spans_json(const std::vector<DamagedSpan>& spans) {
    Json list = Json::array();
    for (const DamagedSpan& span : spans) {
        list.push_back({{"kind", in_words(span.kind)}, {"offset", span.offset}, {"size", span.size}});
    }
    return list;
}

template <typename Value>
Json or_null(const std::optional<Value>& value) {
    return value ? Json(*value) : Json(nullptr);
}

Json text_or_null(const std::string& text) {
    return text.empty() ? Json(nullptr) : Json(text);
}

Json landmarks_json(const std::vector<Landmark>& landmarks) {
    Json list = Json::array();
    for (const Landmark& mark : landmarks) {
        list.push_back({{"name", mark.name}, {"needed", mark.needed}, {"offset", or_null(mark.offset)}});
    }
    return list;
}

Json images_json(const std::vector<ImageData>& images) {
    Json list = Json::array();
    for (const ImageData& image : images) {
        list.push_back({{"offset", image.offset}, {"size", or_null(image.size)}});
    }
    return list;
}

Json jpegs_json(const std::vector<JpegFound>& jpegs) {
    Json list = Json::array();
    for (const JpegFound& jpeg : jpegs) {
        list.push_back({{"offset", jpeg.offset}, {"width", jpeg.width}, {"height", jpeg.height}});
    }
    return list;
}

} // namespace

Diagnosis diagnose(const fs::path& file, const std::optional<fs::path>& sample) {
    const std::vector<unsigned char> bytes = read_whole(file);
    Diagnosis diagnosis;
    diagnosis.path = utf8_from(file);
    diagnosis.size = bytes.size();
    diagnosis.format = format_of(file);
    diagnosis.spans = find_damaged_spans(bytes);
    diagnosis.jpegs = find_jpegs(bytes);
    std::optional<bool> big_endian;
    if (sample) {
        diagnosis.sample = utf8_from(*sample);
        diagnosis.sample_problem =
            diagnosis.format ? judge_sample(*sample, *diagnosis.format, big_endian) : std::string();
    }
    if (diagnosis.format) {
        diagnosis.landmarks = find_landmarks(bytes, *diagnosis.format, big_endian);
        diagnosis.image_spoilt = share_spoilt(diagnosis);
    }
    diagnosis.repair = expected_of_repair(diagnosis);
    diagnosis.salvage = expected_of_salvage(diagnosis);
    return diagnosis;
}

std::string in_words(const Diagnosis& diagnosis) {
    std::string text = line(printable(diagnosis.path) + ": " + size_in_words(diagnosis.size) + ", " +
                            (diagnosis.format ? name_of(*diagnosis.format) : "no known RAW format"));
    text += spans_in_words(diagnosis);
    if (diagnosis.format) {
        text += landmarks_in_words(diagnosis);
    }
    text += line("  JPEGs with a living header:" + std::string(diagnosis.jpegs.empty() ? " none" : ""));
    for (const JpegFound& jpeg : diagnosis.jpegs) {
        text += line("    " + std::to_string(jpeg.offset) + ": " + std::to_string(jpeg.width) + " x " +
                     std::to_string(jpeg.height) + " pixels");
    }
    return text + line("  " + diagnosis.repair) + line("  " + diagnosis.salvage);
}

std::string to_json(const Diagnosis& diagnosis) {
    const Json json = {{"schema", "plate-mend/diagnosis/1"},
                       {"path", diagnosis.path},
                       {"size", diagnosis.size},
                       {"format", diagnosis.format ? Json(name_of(*diagnosis.format)) : Json(nullptr)},
                       {"spans", spans_json(diagnosis.spans)},
                       {"landmarks", landmarks_json(diagnosis.landmarks.found)},
                       {"complete", diagnosis.landmarks.complete()},
                       {"big_endian", or_null(diagnosis.landmarks.big_endian)},
                       {"images", images_json(diagnosis.landmarks.images)},
                       {"image_spoilt", or_null(diagnosis.image_spoilt)},
                       {"jpegs", jpegs_json(diagnosis.jpegs)},
                       {"sample", or_null(diagnosis.sample)},
                       {"sample_problem", text_or_null(diagnosis.sample_problem)},
                       {"repair", diagnosis.repair},
                       {"salvage", diagnosis.salvage}};
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace plate_mend::host
