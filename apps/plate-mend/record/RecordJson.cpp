#include "record/RecordJson.h"

#include "record/Codes.h"
#include "text/Paths.h"

#include <cstdint>
#include <vector>

namespace plate_mend::host {

namespace {

constexpr const char* kSchema = "plate-mend/record/1";

template <typename Integer>
Integer integer_or_zero(const Json& json, const char* name) {
    return json.integer<Integer>(name).value_or(0);
}

Json to_json(const FileIdentity& file) {
    return Json::object({{"path", escaped_name(file.path)},
                         {"size", file.size},
                         {"sha256", Json::text_or_null(file.sha256)}});
}

Json to_json(const std::optional<FileIdentity>& file) {
    return file ? to_json(*file) : Json();
}

FileIdentity file_from(const Json& json) {
    return {.path = unescaped_name(json.required_text("path")),
            .size = integer_or_zero<std::uint64_t>(json, "size"),
            .sha256 = json.text("sha256")};
}

std::optional<FileIdentity> file_or_nothing_from(const Json& json) {
    return json.is_null() ? std::nullopt : std::optional(file_from(json));
}

Json to_json(const std::vector<FrameArea>& areas) {
    Json list = Json::array();
    for (const FrameArea& area : areas) {
        list.append(Json::object(
            {{"left", area.left}, {"top", area.top}, {"width", area.width}, {"height", area.height}}));
    }
    return list;
}

std::vector<FrameArea> areas_from(const Json& json) {
    std::vector<FrameArea> areas;
    for (const Json& area : json.elements()) {
        areas.push_back(
            {area.required_integer<std::uint32_t>("left"), area.required_integer<std::uint32_t>("top"),
             area.required_integer<std::uint32_t>("width"), area.required_integer<std::uint32_t>("height")});
    }
    return areas;
}

Json to_json(const std::optional<PicturePlace>& place) {
    return place ? Json::object({{"sensor_width", place->sensor_width},
                                 {"sensor_height", place->sensor_height},
                                 {"left", place->left},
                                 {"top", place->top},
                                 {"width", place->width},
                                 {"height", place->height},
                                 {"turn", place->turn},
                                 {"pixel_aspect", place->pixel_aspect}})
                 : Json();
}

std::optional<PicturePlace> place_from(const Json& json) {
    if (json.is_null()) {
        return std::nullopt;
    }
    return PicturePlace{.sensor_width = json.required_integer<std::uint32_t>("sensor_width"),
                        .sensor_height = json.required_integer<std::uint32_t>("sensor_height"),
                        .left = json.required_integer<std::uint32_t>("left"),
                        .top = json.required_integer<std::uint32_t>("top"),
                        .width = json.required_integer<std::uint32_t>("width"),
                        .height = json.required_integer<std::uint32_t>("height"),
                        .turn = json.required_integer<unsigned>("turn"),
                        .pixel_aspect = json.real("pixel_aspect").value_or(1)};
}

Json to_json(const Attempt& attempt) {
    const bool has_result = attempt.code == 0;
    return Json::object(
        {{"sample", escaped_name(attempt.sample)},
         {"why", Json::text_or_null(attempt.why)},
         {"code", attempt.code},
         {"meaning",
          attempt.code && !has_result ? Json(explain_attempt(attempt.engine, *attempt.code)) : Json()},
         {"problem", Json::text_or_null(attempt.problem)},
         {"judgement", has_result ? host::to_json(attempt.judgement) : Json()},
         {"taken", attempt.taken},
         {"engine", Json::text_or_null(attempt.engine)},
         {"image", host::to_json(attempt.image)},
         {"pictures_rendered", attempt.pictures_rendered}});
}

Attempt attempt_from(const Json& json) {
    Attempt attempt;
    attempt.sample = unescaped_name(json.required_text("sample"));
    attempt.why = json.text("why");
    attempt.code = json.integer<std::int32_t>("code");
    attempt.problem = json.text("problem");
    attempt.judgement = judgement_from(json.member("judgement"));
    attempt.taken = json.truth("taken");
    attempt.engine = json.text("engine");
    attempt.image = found_image_from(json.member("image"));
    attempt.pictures_rendered = integer_or_zero<std::uint64_t>(json, "pictures_rendered");
    return attempt;
}

Json to_json(const std::vector<Attempt>& attempts) {
    Json list = Json::array();
    for (const Attempt& attempt : attempts) {
        list.append(to_json(attempt));
    }
    return list;
}

Json to_json(const std::vector<UnreadableSpan>& spans) {
    Json list = Json::array();
    for (const UnreadableSpan& span : spans) {
        list.append(Json::object({{"offset", span.offset}, {"size", span.size}}));
    }
    return list;
}

} // namespace

Json to_json(const Judgement& judgement) {
    return Json::object({{"decodes", judgement.decodes},
                         {"width", judgement.width},
                         {"height", judgement.height},
                         {"data_errors", judgement.data_errors},
                         {"rows_good", judgement.rows_good},
                         {"pixels_good", judgement.pixels_good},
                         {"findings", judgement.findings},
                         {"camera", Json::text_or_null(judgement.camera)},
                         {"taken", Json::text_or_null(judgement.taken)},
                         {"place", to_json(judgement.place)}});
}

Judgement judgement_from(const Json& json) {
    if (json.is_null()) {
        return {};
    }
    Judgement judgement;
    judgement.decodes = json.truth("decodes");
    judgement.width = integer_or_zero<std::uint32_t>(json, "width");
    judgement.height = integer_or_zero<std::uint32_t>(json, "height");
    judgement.data_errors = integer_or_zero<std::uint32_t>(json, "data_errors");
    judgement.rows_good = json.real("rows_good");
    judgement.pixels_good = json.real("pixels_good");
    for (const Json& finding : json.member("findings").elements()) {
        judgement.findings.push_back(finding.text());
    }
    judgement.camera = json.text("camera");
    judgement.taken = json.text("taken");
    judgement.place = place_from(json.member("place"));
    return judgement;
}

Json to_json(const std::optional<FoundImage>& image) {
    return image ? Json::object({{"way", name_of_way(image->way)},
                                 {"notes", image->notes},
                                 {"pieces", image->pieces},
                                 {"pieces_found", image->pieces_found},
                                 {"pieces_proved", image->pieces_proved},
                                 {"offset", image->offset},
                                 {"pieces_mended", image->pieces_mended},
                                 {"frame_width", image->frame_width},
                                 {"frame_height", image->frame_height},
                                 {"pixels", image->pixels},
                                 {"pixels_lost", image->pixels_lost},
                                 {"pixels_doubtful", image->pixels_doubtful},
                                 {"filled", image->filled},
                                 {"lost", to_json(image->lost)},
                                 {"doubtful", to_json(image->doubtful)}})
                 : Json();
}

std::optional<FoundImage> found_image_from(const Json& json) {
    if (json.is_null()) {
        return std::nullopt;
    }
    return FoundImage{.way = way_from_name(json.text("way")),
                      .notes = integer_or_zero<std::uint32_t>(json, "notes"),
                      .pieces = integer_or_zero<std::uint64_t>(json, "pieces"),
                      .pieces_found = integer_or_zero<std::uint64_t>(json, "pieces_found"),
                      .pieces_proved = integer_or_zero<std::uint64_t>(json, "pieces_proved"),
                      .offset = integer_or_zero<std::uint64_t>(json, "offset"),
                      .pieces_mended = integer_or_zero<std::uint64_t>(json, "pieces_mended"),
                      .frame_width = integer_or_zero<std::uint32_t>(json, "frame_width"),
                      .frame_height = integer_or_zero<std::uint32_t>(json, "frame_height"),
                      .pixels = integer_or_zero<std::uint64_t>(json, "pixels"),
                      .pixels_lost = integer_or_zero<std::uint64_t>(json, "pixels_lost"),
                      .pixels_doubtful = integer_or_zero<std::uint64_t>(json, "pixels_doubtful"),
                      .filled = json.truth("filled"),
                      .lost = areas_from(json.member("lost")),
                      .doubtful = areas_from(json.member("doubtful"))};
}

Json to_json(const SalvagedPicture& salvage) {
    if (!salvage.code && salvage.problem.empty()) {
        return {};
    }
    return Json::object(
        {{"code", salvage.code},
         {"problem", Json::text_or_null(salvage.problem)},
         {"width", salvage.width},
         {"height", salvage.height},
         {"blocks", salvage.blocks},
         {"blocks_own", salvage.blocks_own},
         {"blocks_coarse", salvage.blocks_coarse},
         {"blocks_guessed", salvage.blocks_guessed},
         {"first_bad_byte", salvage.first_bad_byte == UINT64_MAX ? Json() : Json(salvage.first_bad_byte)},
         {"warnings", salvage.warnings}});
}

SalvagedPicture salvage_from(const Json& json) {
    if (json.is_null()) {
        return {};
    }
    return {.code = json.integer<std::int32_t>("code"),
            .problem = json.text("problem"),
            .width = integer_or_zero<std::uint32_t>(json, "width"),
            .height = integer_or_zero<std::uint32_t>(json, "height"),
            .blocks = integer_or_zero<std::uint64_t>(json, "blocks"),
            .blocks_own = integer_or_zero<std::uint64_t>(json, "blocks_own"),
            .blocks_coarse = integer_or_zero<std::uint64_t>(json, "blocks_coarse"),
            .blocks_guessed = integer_or_zero<std::uint64_t>(json, "blocks_guessed"),
            .first_bad_byte = json.integer<std::uint64_t>("first_bad_byte").value_or(UINT64_MAX),
            .warnings = integer_or_zero<std::uint32_t>(json, "warnings")};
}

Json to_json(const std::optional<OwnMetadata>& metadata) {
    if (!metadata) {
        return {};
    }
    Json facts = Json::object({});
    for (const auto& [fact, text] : metadata->facts) {
        facts.set(name_of(fact), text);
    }
    return Json::object({{"facts", facts},
                         {"source", metadata->source},
                         {"offset", metadata->offset},
                         {"in_result", metadata->in_result}});
}

std::optional<OwnMetadata> own_metadata_from(const Json& json) {
    if (json.is_null()) {
        return std::nullopt;
    }
    OwnMetadata metadata{.facts = {},
                         .source = json.text("source"),
                         .offset = integer_or_zero<std::uint64_t>(json, "offset"),
                         .in_result = json.truth("in_result")};
    const Json facts = json.member("facts");
    for (const CameraFact fact : camera_facts()) {
        if (const std::string text = facts.text(name_of(fact)); !text.empty()) {
            metadata.facts[fact] = text;
        }
    }
    return metadata;
}

Json to_json(const Record& record) {
    return Json::object({{"schema", kSchema},
                         {"damaged", to_json(record.damaged)},
                         {"verdict", name_of(record.verdict)},
                         {"problem", Json::text_or_null(record.problem)},
                         {"attempts", to_json(record.attempts)},
                         {"salvage", to_json(record.salvage)},
                         {"raw", to_json(record.raw)},
                         {"jpeg", to_json(record.jpeg)},
                         {"mask", to_json(record.mask)},
                         {"sidecar", to_json(record.sidecar)},
                         {"metadata", host::to_json(record.metadata)},
                         {"unreadable", to_json(record.unreadable)},
                         {"zeros_left_out", record.zeros_left_out},
                         {"seconds", record.seconds}});
}

Record record_from(const Json& json) {
    if (json.required_text("schema") != kSchema) {
        throw JsonError();
    }
    Record record;
    record.damaged = file_from(json.required("damaged"));
    record.verdict = verdict_from_name(json.required_text("verdict")).value();
    record.problem = json.text("problem");
    for (const Json& attempt : json.member("attempts").elements()) {
        record.attempts.push_back(attempt_from(attempt));
    }
    record.salvage = salvage_from(json.member("salvage"));
    record.raw = file_or_nothing_from(json.member("raw"));
    record.jpeg = file_or_nothing_from(json.member("jpeg"));
    record.mask = file_or_nothing_from(json.member("mask"));
    record.sidecar = file_or_nothing_from(json.member("sidecar"));
    record.metadata = own_metadata_from(json.member("metadata"));
    for (const Json& span : json.member("unreadable").elements()) {
        record.unreadable.push_back(
            {integer_or_zero<std::uint64_t>(span, "offset"), integer_or_zero<std::uint64_t>(span, "size")});
    }
    record.zeros_left_out = integer_or_zero<std::uint64_t>(json, "zeros_left_out");
    record.seconds = json.real("seconds").value_or(0);
    return record;
}

std::string to_json_line(const Record& record) {
    return to_json(record).line();
}

std::optional<Record> from_json_line(std::string_view line) {
    try {
        return record_from(Json::parse(line));
    } catch (const std::exception&) {
        return std::nullopt;
    }
}

} // namespace plate_mend::host
