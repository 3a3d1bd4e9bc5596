#include "diagnose/Diagnosis.h"

#include "files/Formats.h"
#include "files/SafeOutput.h"
#include "platform/MappedFile.h"
#include "report/Words.h"
#include "text/Text.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <new>
#include <stdexcept>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;
using Bytes = std::span<const unsigned char>;
using Json = nlohmann::ordered_json;

constexpr const char* kNoMemory =
    "there is not enough memory to look at it; close other programs, or raise the memory limit";
constexpr std::uint64_t kMostBytes = (std::uint64_t{1} << 31U) - 1; // What a repair reads.
constexpr std::size_t kMostJpegs = 64;
constexpr std::size_t kSpansTold = 8;

/// What is wrong with a file that was not mapped, and what to do about it where something can be done.
const char* problem_of(platform::MapResult result) {
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
        throw std::runtime_error(name + problem_of(result));
    }
}

/// Calls a function with exceptions that have no sentence of ours turned into ones that have.
template <typename Function>
auto in_sentences(Function function) {
    try {
        return function();
    } catch (const std::bad_alloc&) {
        throw std::runtime_error(kNoMemory);
    } catch (const std::length_error&) {
        throw std::runtime_error(kNoMemory);
    }
}

/// Looks for JPEGs, and counts the steps: a file may be made of nothing but starts.
class JpegSearch {
  public:
    explicit JpegSearch(Bytes bytes) : bytes_(bytes) {}

    std::vector<JpegFound> run() {
        constexpr std::array<unsigned char, 3> kStart = {0xFF, 0xD8, 0xFF};
        constexpr std::size_t kMostSteps = std::size_t{1} << 22U; // Of photographs: some thousands.
        std::vector<JpegFound> jpegs;
        auto found = bytes_.begin();
        while (jpegs.size() < kMostJpegs && steps_ < kMostSteps) {
            found = std::search(found, bytes_.end(), kStart.begin(), kStart.end());
            if (found == bytes_.end()) {
                break;
            }
            if (const auto jpeg = read_header(static_cast<std::size_t>(found - bytes_.begin()))) {
                jpegs.push_back(*jpeg);
            }
            ++found;
        }
        return jpegs;
    }

  private:
    /// The size that the frame header after a start of image gives; nothing when the segments lead to none.
    std::optional<JpegFound> read_header(std::size_t start) {
        constexpr int kMostSegments = 64;
        std::size_t at = start + 2;
        for (int segment = 0; segment < kMostSegments && at + 9 <= bytes_.size() && bytes_[at] == 0xFF;
             ++segment, ++steps_) {
            const unsigned char marker = bytes_[at + 1];
            const std::size_t length = u16(at + 2);
            const bool frame =
                marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
            if (frame) {
                const bool lossless = marker == 0xC3;
                const JpegFound jpeg{start, u16(at + 7), u16(at + 5)};
                return jpeg.width == 0 || jpeg.height == 0 || lossless ? std::nullopt : std::optional(jpeg);
            }
            if (marker < 0xC0 || length < 2) {
                break;
            }
            at += 2 + length;
        }
        ++steps_;
        return std::nullopt;
    }

    [[nodiscard]] std::uint32_t u16(std::size_t at) const {
        return static_cast<std::uint32_t>(bytes_[at]) << 8U | bytes_[at + 1];
    }

    Bytes bytes_;
    std::size_t steps_ = 0;
};

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
    if (diagnosis.landmarks.images.empty()) {
        return std::nullopt;
    }
    return all == 0 ? 1 : static_cast<double>(spoilt) / static_cast<double>(all);
}

std::string expected_of_repair(const Diagnosis& diagnosis) {
    if (!diagnosis.format) {
        return "No repair is known for this extension.";
    }
    if (!diagnosis.sample_problem.empty()) {
        return "The sample will not do: " + diagnosis.sample_problem + '.';
    }
    if (!diagnosis.landmarks.complete()) {
        return "A repair will not find the image: not all that leads to it is intact.";
    }
    if (!diagnosis.landmarks.obstacle.empty()) {
        return "A repair will not give the photograph back: " + diagnosis.landmarks.obstacle + '.';
    }
    const double spoilt = diagnosis.image_spoilt.value_or(0);
    const std::string with = diagnosis.sample ? "A repair with this sample"
                                              : "A repair with an intact photograph from the same camera";
    if (spoilt >= 1) {
        return with + " finds its way, but nothing of the image data is intact.";
    }
    const std::string chance = with + " is likely to give the photograph back";
    return spoilt > 0 ? chance + ", but " + share_in_words(spoilt) + " of the image data look lost."
                      : chance + '.';
}

std::string expected_of_salvage(const Diagnosis& diagnosis) {
    if (diagnosis.jpegs.empty()) {
        return "No JPEG with an intact header is inside. A salvage may still find parts of one.";
    }
    const auto largest = std::max_element(
        diagnosis.jpegs.begin(), diagnosis.jpegs.end(), [](const JpegFound& left, const JpegFound& right) {
            return std::uint64_t{left.width} * left.height < std::uint64_t{right.width} * right.height;
        });
    return "A salvage may give a JPEG of " + std::to_string(largest->width) + " x " +
           std::to_string(largest->height) + " pixels: its header is intact; its data were not looked at.";
}

/// What a repair takes from the sample, with the reason why it will not do.
SampleMarks judge_sample(const fs::path& sample, RawFormat format) {
    platform::MappedFile mapped;
    map(mapped, sample, "the sample " + utf8_from(sample) + ": ");
    if (format_of(sample) != format) {
        return {std::string("it is no ") + name_of(format), std::nullopt, std::nullopt};
    }
    return look_at_sample(mapped.bytes(), format);
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
    return left_out == 0 ? text : text + line("    and " + counted(left_out, "shorter one"));
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

Diagnosis look_at(const fs::path& file, const std::optional<fs::path>& sample) {
    platform::MappedFile mapped;
    map(mapped, file, "");
    const Bytes bytes = mapped.bytes();
    Diagnosis diagnosis;
    diagnosis.path = utf8_from(file);
    diagnosis.size = bytes.size();
    diagnosis.format = format_of(file);
    diagnosis.spans = find_damaged_spans(bytes);
    diagnosis.jpegs = JpegSearch(bytes).run();
    SampleMarks marks;
    if (sample) {
        diagnosis.sample = utf8_from(*sample);
        if (diagnosis.format) {
            marks = judge_sample(*sample, *diagnosis.format);
            diagnosis.sample_problem = marks.problem;
        }
    }
    if (diagnosis.format) {
        diagnosis.landmarks = find_landmarks(bytes, *diagnosis.format, marks.big_endian);
        const auto& tiles = diagnosis.landmarks.tiles;
        if (marks.tiles && tiles && *marks.tiles != *tiles) {
            diagnosis.landmarks.obstacle = "its image has other tiles than the sample's";
        }
        diagnosis.image_spoilt = share_spoilt(diagnosis);
    }
    diagnosis.repair = expected_of_repair(diagnosis);
    diagnosis.salvage = expected_of_salvage(diagnosis);
    return diagnosis;
}

std::string words_of(const Diagnosis& diagnosis) {
    std::string text = line(printable(diagnosis.path) + ": " + size_in_words(diagnosis.size) + ", " +
                            (diagnosis.format ? name_of(*diagnosis.format) : "no known RAW format"));
    text += spans_in_words(diagnosis);
    if (diagnosis.format) {
        text += landmarks_in_words(diagnosis);
    }
    text += line("  JPEGs with an intact header:" + std::string(diagnosis.jpegs.empty() ? " none" : ""));
    for (const JpegFound& jpeg : diagnosis.jpegs) {
        text += line("    " + std::to_string(jpeg.offset) + ": " + std::to_string(jpeg.width) + " x " +
                     std::to_string(jpeg.height) + " pixels");
    }
    return text + line("  " + diagnosis.repair) + line("  " + diagnosis.salvage);
}

std::string json_of(const Diagnosis& diagnosis) {
    const Json json = {{"schema", "plate-mend/diagnosis/1"},
                       {"path", escaped_name(diagnosis.path)},
                       {"size", diagnosis.size},
                       {"format", diagnosis.format ? Json(name_of(*diagnosis.format)) : Json(nullptr)},
                       {"spans", spans_json(diagnosis.spans)},
                       {"landmarks", landmarks_json(diagnosis.landmarks.found)},
                       {"complete", diagnosis.landmarks.complete()},
                       {"obstacle", text_or_null(diagnosis.landmarks.obstacle)},
                       {"big_endian", or_null(diagnosis.landmarks.big_endian)},
                       {"images", images_json(diagnosis.landmarks.images)},
                       {"image_spoilt", or_null(diagnosis.image_spoilt)},
                       {"jpegs", jpegs_json(diagnosis.jpegs)},
                       {"sample", diagnosis.sample ? Json(escaped_name(*diagnosis.sample)) : Json(nullptr)},
                       {"sample_problem", text_or_null(diagnosis.sample_problem)},
                       {"repair", diagnosis.repair},
                       {"salvage", diagnosis.salvage}};
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

} // namespace

Diagnosis diagnose(const fs::path& file, const std::optional<fs::path>& sample) {
    return in_sentences([&] { return look_at(file, sample); });
}

std::string in_words(const Diagnosis& diagnosis) {
    return in_sentences([&] { return words_of(diagnosis); });
}

std::string to_json(const Diagnosis& diagnosis) {
    return in_sentences([&] { return json_of(diagnosis); });
}

} // namespace plate_mend::host
