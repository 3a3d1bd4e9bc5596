#include "diagnose/Diagnosis.h"
#include "diagnose/Sentences.h"

#include "record/Json.h"
#include "text/Format.h"
#include "text/Paths.h"
#include "text/Text.h"

#include <algorithm>

// A diagnosis for people, and for programs.

namespace plate_mend::host {

namespace {

constexpr std::size_t kMostSpansShown = 8;

std::string line(const std::string& text) {
    return text + '\n';
}

std::string describe_spans(const Diagnosis& diagnosis) {
    std::vector<DamagedSpan> spans = diagnosis.spans;
    std::sort(spans.begin(), spans.end(),
              [](const DamagedSpan& left, const DamagedSpan& right) { return left.size > right.size; });
    const std::size_t left_out = spans.size() - std::min(spans.size(), kMostSpansShown);
    spans.resize(spans.size() - left_out);
    std::sort(spans.begin(), spans.end(),
              [](const DamagedSpan& left, const DamagedSpan& right) { return left.offset < right.offset; });
    std::string text = line("  suspicious bytes:" + std::string(spans.empty() ? " none" : ""));
    for (const DamagedSpan& span : spans) {
        text += line("    " + std::to_string(span.offset) + ": " + describe(span.kind) + ", " +
                     format_size(span.size));
    }
    return left_out == 0 ? text : text + line("    and " + format_count(left_out, "shorter one"));
}

std::string describe_landmarks(const Diagnosis& diagnosis) {
    std::string text = line("  landmarks:");
    for (const Landmark& mark : diagnosis.landmarks.found) {
        text +=
            line("    " + mark.name + ": " + (mark.offset ? "at " + std::to_string(*mark.offset) : "lost") +
                 (mark.needed ? ", needed" : ""));
    }
    for (const ImageData& image : diagnosis.landmarks.images) {
        text += line("    image data: from " + std::to_string(image.offset) +
                     (image.size ? ", " + format_size(*image.size) : ", to the end"));
    }
    return text;
}

Json spans_json(const std::vector<DamagedSpan>& spans) {
    Json list = Json::array();
    for (const DamagedSpan& span : spans) {
        list.append(
            Json::object({{"kind", describe(span.kind)}, {"offset", span.offset}, {"size", span.size}}));
    }
    return list;
}

Json landmarks_json(const std::vector<Landmark>& landmarks) {
    Json list = Json::array();
    for (const Landmark& mark : landmarks) {
        list.append(Json::object({{"name", mark.name}, {"needed", mark.needed}, {"offset", mark.offset}}));
    }
    return list;
}

Json images_json(const std::vector<ImageData>& images) {
    Json list = Json::array();
    for (const ImageData& image : images) {
        list.append(Json::object({{"offset", image.offset}, {"size", image.size}}));
    }
    return list;
}

Json jpegs_json(const std::vector<JpegFound>& jpegs) {
    Json list = Json::array();
    for (const JpegFound& jpeg : jpegs) {
        list.append(Json::object({{"offset", jpeg.offset}, {"width", jpeg.width}, {"height", jpeg.height}}));
    }
    return list;
}

std::string describe_all(const Diagnosis& diagnosis) {
    std::string text = line(printable(diagnosis.path) + ": " + format_size(diagnosis.size) + ", " +
                            (diagnosis.format ? name_of(*diagnosis.format) : "no known RAW format"));
    text += describe_spans(diagnosis);
    if (diagnosis.format) {
        text += describe_landmarks(diagnosis);
    }
    text += line("  JPEGs with an intact header:" + std::string(diagnosis.jpegs.empty() ? " none" : ""));
    for (const JpegFound& jpeg : diagnosis.jpegs) {
        text += line("    " + std::to_string(jpeg.offset) + ": " + std::to_string(jpeg.width) + " x " +
                     std::to_string(jpeg.height) + " pixels");
    }
    return text + line("  " + diagnosis.repair) + line("  " + diagnosis.salvage);
}

std::string json_line_of(const Diagnosis& diagnosis) {
    return Json::object({{"schema", "plate-mend/diagnosis/1"},
                         {"path", escaped_name(diagnosis.path)},
                         {"size", diagnosis.size},
                         {"format", diagnosis.format ? Json(name_of(*diagnosis.format)) : Json()},
                         {"spans", spans_json(diagnosis.spans)},
                         {"landmarks", landmarks_json(diagnosis.landmarks.found)},
                         {"complete", diagnosis.landmarks.complete()},
                         {"obstacle", Json::text_or_null(diagnosis.landmarks.obstacle)},
                         {"big_endian", diagnosis.landmarks.big_endian},
                         {"images", images_json(diagnosis.landmarks.images)},
                         {"image_spoilt", diagnosis.image_spoilt},
                         {"jpegs", jpegs_json(diagnosis.jpegs)},
                         {"sample", diagnosis.sample ? Json(escaped_name(*diagnosis.sample)) : Json()},
                         {"sample_problem", Json::text_or_null(diagnosis.sample_problem)},
                         {"repair", diagnosis.repair},
                         {"salvage", diagnosis.salvage}})
        .line();
}

} // namespace

std::string describe(const Diagnosis& diagnosis) {
    return with_sentences([&] { return describe_all(diagnosis); });
}

std::string to_json_line(const Diagnosis& diagnosis) {
    return with_sentences([&] { return json_line_of(diagnosis); });
}

} // namespace plate_mend::host
