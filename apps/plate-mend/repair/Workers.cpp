#include "repair/Workers.h"

#include "files/Failures.h"
#include "record/RecordJson.h"
#include "repair/RunLog.h"
#include "repair/WorkerFiles.h"
#include "text/Paths.h"
#include "text/Text.h"

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// How a file of a task is named in it: by its name alone where it is in the folder.
std::string name_in_task(const fs::path& folder, const fs::path& file) {
    return file.empty()
               ? ""
               : escaped_name(utf8_from(file.parent_path() == folder ? file.filename() : fs::absolute(file)));
}

void throw_for_room(const Json& answer) {
    if (answer.has("room")) {
        throw MachineFailure(answer.required_text("room"), answer.truth("no_room"));
    }
}

Attempt attempt_from(const WorkerAnswer& answer, const char* engine) {
    Attempt attempt;
    attempt.engine = engine;
    attempt.problem = answer.problem;
    if (!answer.json.is_null()) {
        attempt.code = answer.json.required_integer<std::int32_t>("code");
        attempt.image = found_image_from(answer.json.member("image"));
        attempt.room_problem = answer.json.text("room");
        attempt.no_room = answer.json.truth("no_room");
    }
    return attempt;
}

} // namespace

Attempt Workers::repair(const fs::path& folder, const RepairTask& task) const {
    if (log_ != nullptr) {
        fs::create_directory(folder / kWorkerLogFolder);
    }
    const WorkerAnswer answer = pool_->run(Json::object({{"task", "repair"},
                                                         {"damaged", name_in_task(folder, task.damaged)},
                                                         {"sample", name_in_task(folder, task.sample)},
                                                         {"output", name_in_task(folder, task.output)},
                                                         {"log", log_ != nullptr}}),
                                           folder);
    if (log_ != nullptr) {
        log_->take(folder / kWorkerLogFolder / kWorkerLog, task.title);
    }
    return attempt_from(answer, kExactEngine);
}

Attempt Workers::repair_raw(const fs::path& folder, const RepairTask& task) const {
    const WorkerAnswer answer = pool_->run(Json::object({{"task", "raw"},
                                                         {"damaged", name_in_task(folder, task.damaged)},
                                                         {"sample", name_in_task(folder, task.sample)},
                                                         {"output", name_in_task(folder, task.output)},
                                                         {"fill", task.fill}}),
                                           folder);
    return attempt_from(answer, kRawEngine);
}

ReplacedPictures Workers::replace_pictures(const fs::path& folder, const fs::path& photograph,
                                           const fs::path& sample, const fs::path& output) const {
    const WorkerAnswer answer = pool_->run(Json::object({{"task", "pictures"},
                                                         {"photograph", name_in_task(folder, photograph)},
                                                         {"sample", name_in_task(folder, sample)},
                                                         {"output", name_in_task(folder, output)}}),
                                           folder);
    if (answer.json.is_null()) {
        return {};
    }
    return {answer.json.required_integer<std::uint64_t>("pictures"),
            answer.json.required_integer<std::uint64_t>("replaced")};
}

Workers::MetadataResult Workers::find_metadata(const fs::path& folder, const MetadataTask& task) const {
    const std::string sample = utf8_from(path_from(task.taken.sample).filename());
    const WorkerAnswer answer =
        pool_->run(Json::object({{"task", "metadata"},
                                 {"damaged", name_in_task(folder, task.damaged)},
                                 {"result", name_in_task(folder, task.result)},
                                 {"image_offset", task.taken.image ? Json(task.taken.image->offset) : Json()},
                                 {"sample_name", well_formed(sample)},
                                 {"sidecar", name_in_task(folder, task.sidecar)}}),
                   folder);
    return {own_metadata_from(answer.json.member("metadata")), answer.problem};
}

SalvagedPicture Workers::salvage(const fs::path& folder, const SalvageTask& task) const {
    const WorkerAnswer answer = pool_->run(Json::object({{"task", "salvage"},
                                                         {"damaged", name_in_task(folder, task.damaged)},
                                                         {"output", name_in_task(folder, task.output)},
                                                         {"picture", name_in_task(folder, task.picture)},
                                                         {"sample", name_in_task(folder, task.sample)}}),
                                           folder);
    throw_for_room(answer.json);
    SalvagedPicture picture = salvage_from(answer.json);
    picture.problem = answer.problem;
    return picture;
}

std::uint64_t Workers::fill(const fs::path& folder, const fs::path& result, const fs::path& sample) const {
    const WorkerAnswer answer = pool_->run(Json::object({{"task", "fill"},
                                                         {"result", name_in_task(folder, result)},
                                                         {"sample", name_in_task(folder, sample)}}),
                                           folder);
    return answer.json.is_null() ? 0 : answer.json.required_integer<std::uint64_t>("filled");
}

bool Workers::is_lost_in_preview(const fs::path& folder, const fs::path& damaged) const {
    const WorkerAnswer answer =
        pool_->run(Json::object({{"task", "preview"}, {"damaged", name_in_task(folder, damaged)}}), folder);
    return answer.json.is_null() || answer.json.required_truth("lost");
}

Judgement Workers::judge(const fs::path& folder, const JudgeRequest& task) const {
    const WorkerAnswer answer = pool_->run(Json::object({{"task", "judge"},
                                                         {"result", name_in_task(folder, task.result)},
                                                         {"damaged", name_in_task(folder, task.damaged)},
                                                         {"sample", name_in_task(folder, task.sample)},
                                                         {"picture", name_in_task(folder, task.picture)},
                                                         {"filled", task.filled},
                                                         {"image", to_json(task.image)},
                                                         {"lost_in_preview", task.lost_in_preview}}),
                                           folder);
    if (!answer.json.is_null()) {
        return judgement_from(answer.json);
    }
    Judgement judgement;
    judgement.findings.push_back("the decoder " + answer.problem);
    return judgement;
}

bool Workers::is_intact(const fs::path& folder, const fs::path& photograph, const fs::path& picture) const {
    const WorkerAnswer answer = pool_->run(Json::object({{"task", "intact"},
                                                         {"photograph", name_in_task(folder, photograph)},
                                                         {"picture", name_in_task(folder, picture)}}),
                                           folder);
    return !answer.json.is_null() && answer.json.required_truth("intact");
}

Workers::CheckResult Workers::check(const fs::path& folder, const fs::path& file) const {
    const WorkerAnswer answer =
        pool_->run(Json::object({{"task", "check"}, {"file", name_in_task(folder, file)}}), folder);
    return {.opens = answer.json.truth("opens"), .problem = answer.problem};
}

Workers::DiagnoseResult Workers::diagnose(const fs::path& folder, const DiagnoseTask& task) const {
    const WorkerAnswer answer =
        pool_->run(Json::object({{"task", "diagnose"},
                                 {"file", name_in_task(folder, task.file)},
                                 {"file_name", escaped_name(utf8_from(task.file))},
                                 {"sample", name_in_task(folder, task.sample)},
                                 {"sample_name", escaped_name(utf8_from(task.sample))},
                                 {"json", task.json}}),
                   folder);
    return {.text = answer.json.text("text"), .problem = answer.problem};
}

} // namespace plate_mend::host
