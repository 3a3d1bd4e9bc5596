#include "Worker.h"

#include "SafeOutput.h"
#include "judge/Picture.h"
#include "platform/Interrupt.h"
#include "platform/Process.h"
#include "report/JsonFields.h"
#include "report/Words.h"

#include <plate_mend/plate_mend.h>
#include <still_mend/still_mend.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <stdexcept>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr const char* kTaskFile = "task.json";
constexpr const char* kAnswerFile = "answer.json";

void write_json(const fs::path& file, const Json& object) {
    // Names in the findings of a camera's bytes need not be UTF-8.
    std::ofstream(file, std::ios::binary) << line_of(object);
}

Json read_json(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return Json::parse(stream);
}

/// An answer, or a problem in words.
struct Answer {
    Json object; ///< Null where there is a problem.
    std::string problem;
};

/// Waits for the worker's end, with an eye on the clock and on the user. Gives the problem, if there is one.
std::string wait_for(platform::Process& process, unsigned seconds) {
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        if (const auto ending = process.wait(100ms)) {
            return ending->crashed.empty() ? "" : "crashed: " + ending->crashed;
        }
        if (platform::interrupted()) {
            throw Interrupted();
        }
        if (seconds != 0 && std::chrono::steady_clock::now() - start > std::chrono::seconds(seconds)) {
            return "stopped after " + counted(seconds, "second");
        }
    }
}

Answer run_worker(Json task, const fs::path& folder, const WorkerLimits& limits) {
    task["memory"] = limits.memory;
    fs::remove(folder / kAnswerFile);
    write_json(folder / kTaskFile, task);
    platform::Process process(limits.program, {"worker", utf8_from(folder)});
    std::string problem = wait_for(process, limits.seconds);
    if (!problem.empty()) {
        return {nullptr, problem};
    }
    try {
        Json answer = read_json(folder / kAnswerFile);
        if (answer.contains("exception")) {
            return {nullptr, answer["exception"].get<std::string>()};
        }
        return {std::move(answer), ""};
    } catch (const Json::exception&) {
        return {nullptr, "ended without an answer"};
    }
}

Json do_repair(const Json& task) {
    const std::string log = task.at("log");
    const std::string work = task.at("work");
    // Where nobody wants a log it is sent to a folder that is not there.
    const std::string log_directory = log.empty() ? work + "/no-log" : log;
    if (MndRawInit(log_directory.c_str(), log_directory.c_str(), work.c_str()) != PLATE_MEND_OK &&
        !log.empty()) {
        throw std::runtime_error(log + ": no log can be written there");
    }
    const auto code = MndRawAdvanceRepair(task.at("damaged").get<std::string>().c_str(),
                                          task.at("sample").get<std::string>().c_str(),
                                          task.at("output").get<std::string>().c_str());
    return {{"code", code}};
}

Json do_salvage(const Json& task) {
    const std::string output = task.at("output");
    StillMendReport report{};
    const auto code =
        MndJpegGeneralRepairReport(task.at("damaged").get<std::string>().c_str(), output.c_str(), &report);
    const std::string picture = task.at("picture");
    if ((code == STILL_MEND_OK || code == STILL_MEND_ONLY_THUMBNAIL) && !picture.empty()) {
        write_jpeg_picture(path_from(output), path_from(picture));
    }
    return to_json(SalvagedPicture{.code = code,
                                   .problem = {},
                                   .width = report.width,
                                   .height = report.height,
                                   .blocks = report.mcu_count,
                                   .blocks_own = report.own_mcu_count,
                                   .blocks_coarse = report.coarse_mcu_count,
                                   .blocks_guessed = report.guessed_mcu_count,
                                   .first_bad_byte = report.first_bad_byte,
                                   .warnings = report.warnings});
}

Json do_judge(const Json& task) {
    const auto path = [&task](const char* name) { return path_from(task.at(name).get<std::string>()); };
    return to_json(
        judge_raw({path("result"), path("damaged"), path("sample"), path("picture"),
                   task.at("filled").get<std::uint64_t>(), task.at("lost_in_preview").get<bool>()}));
}

Json do_look_at_preview(const Json& task) {
    return {{"lost", is_lost_in_preview(path_from(task.at("damaged").get<std::string>()))}};
}

Json do_fill(const Json& task) {
    const fs::path result = path_from(task.at("result").get<std::string>());
    const std::uint64_t missing = missing_at_the_end(result, path_from(task.at("sample").get<std::string>()));
    if (missing != 0) {
        fs::resize_file(result, fs::file_size(result) + missing); // With zeros.
    }
    return {{"filled", missing}};
}

Json do_task(const Json& task) {
    const std::string kind = task.at("task");
    return kind == "repair"    ? do_repair(task)
           : kind == "salvage" ? do_salvage(task)
           : kind == "fill"    ? do_fill(task)
           : kind == "preview" ? do_look_at_preview(task)
                               : do_judge(task);
}

} // namespace

Attempt Workers::repair(const fs::path& folder, const RepairTask& task) const {
    const Answer answer = run_worker({{"task", "repair"},
                                      {"damaged", utf8_from(task.damaged)},
                                      {"sample", utf8_from(task.sample)},
                                      {"output", utf8_from(task.output)},
                                      {"work", utf8_from(folder)},
                                      {"log", utf8_from(log_directory_)}},
                                     folder, limits_);
    Attempt attempt;
    attempt.problem = answer.problem;
    if (!answer.object.is_null()) {
        attempt.code = answer.object.at("code").get<std::int32_t>();
    }
    return attempt;
}

SalvagedPicture Workers::salvage(const fs::path& folder, const SalvageTask& task) const {
    const Answer answer = run_worker({{"task", "salvage"},
                                      {"damaged", utf8_from(task.damaged)},
                                      {"output", utf8_from(task.output)},
                                      {"picture", utf8_from(task.picture)}},
                                     folder, limits_);
    SalvagedPicture picture = salvage_from(answer.object);
    picture.problem = answer.problem;
    return picture;
}

std::uint64_t Workers::fill(const fs::path& folder, const fs::path& result, const fs::path& sample) const {
    const Answer answer = run_worker(
        {{"task", "fill"}, {"result", utf8_from(result)}, {"sample", utf8_from(sample)}}, folder, limits_);
    return answer.object.is_null() ? 0 : answer.object.at("filled").get<std::uint64_t>();
}

bool Workers::is_lost_in_preview(const fs::path& folder, const fs::path& damaged) const {
    const Answer answer = run_worker({{"task", "preview"}, {"damaged", utf8_from(damaged)}}, folder, limits_);
    return answer.object.is_null() || answer.object.at("lost").get<bool>();
}

Judgement Workers::judge(const fs::path& folder, const JudgeRequest& task) const {
    const Answer answer = run_worker({{"task", "judge"},
                                      {"result", utf8_from(task.result)},
                                      {"damaged", utf8_from(task.damaged)},
                                      {"sample", utf8_from(task.sample)},
                                      {"picture", utf8_from(task.picture)},
                                      {"filled", task.filled},
                                      {"lost_in_preview", task.lost_in_preview}},
                                     folder, limits_);
    if (!answer.object.is_null()) {
        return judgement_from(answer.object);
    }
    Judgement judgement;
    judgement.findings.push_back("the decoder " + answer.problem);
    return judgement;
}

int work(const fs::path& folder) {
    const Json task = read_json(folder / kTaskFile);
    Json answer;
    try {
        if (!platform::limit_memory(task.at("memory").get<std::uint64_t>())) {
            throw std::runtime_error("the memory limit cannot be set");
        }
        answer = do_task(task);
    } catch (const std::exception& e) {
        answer = {{"exception", e.what()}};
    }
    write_json(folder / kAnswerFile, answer);
    return 0;
}

} // namespace plate_mend::host
