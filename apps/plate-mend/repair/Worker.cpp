#include "repair/Worker.h"

#include "diagnose/Diagnosis.h"
#include "files/SafeOutput.h"
#include "judge/Picture.h"
#include "judge/Preview.h"
#include "platform/Files.h"
#include "platform/Interrupt.h"
#include "platform/Process.h"
#include "record/JsonFields.h"
#include "repair/RunLog.h"
#include "report/Notes.h"
#include "report/Words.h"

#include <plate_mend/plate_mend.h>
#include <still_mend/still_mend.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <fstream>
#include <limits>
#include <new>
#include <stdexcept>
#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr const char* kTaskFile = "task.json";
constexpr const char* kAnswerFile = "answer.json";
constexpr const char* kLogFolder = "log";
constexpr const char* kLogFile = "PlateMend.log";

// Exit status of a worker that cannot answer.
constexpr int kOutOfMemory = 71;
constexpr int kNoRoom = 72;
constexpr int kNoFolder = 73;   ///< The folder of the task cannot be used for another reason.
constexpr int kNotLoaded = 127; ///< Of a program whose libraries are missing.

/// Throws std::system_error.
void write_json(const fs::path& file, const Json& object) {
    fs::remove(file);
    const std::string line = line_of(object);
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
    platform::NewFile(file).write(reinterpret_cast<const unsigned char*>(line.data()), line.size());
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

[[noreturn]] void fail_for_memory(const WorkerLimits& limits) {
    throw MachineFailure("memory ran out" +
                         (limits.memory == 0
                              ? std::string()
                              : " (--memory-limit allows " + std::to_string(limits.memory >> 20U) + " MiB)"));
}

void throw_for_status(int status, const WorkerLimits& limits) {
    if (status == kOutOfMemory) {
        fail_for_memory(limits);
    }
    if (status == kNoRoom) {
        throw MachineFailure("a worker cannot answer", std::make_error_code(std::errc::no_space_on_device));
    }
    if (status == kNoFolder) {
        throw MachineFailure("a worker cannot use its folder");
    }
    if (status == kNotLoaded) {
        throw MachineFailure("a worker cannot be loaded; is the program installed completely?");
    }
}

/// Waits for the worker's end, with an eye on the clock and on the user. Returns the problem, if there is
/// one.
std::string wait_for(platform::Process& process, const WorkerLimits& limits) {
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        if (const auto ending = process.wait(100ms)) {
            if (ending->by_system) {
                throw MachineFailure("the system ended a worker; most likely memory ran out");
            }
            if (ending->crashed.empty()) {
                throw_for_status(ending->status, limits);
            }
            return ending->crashed.empty() ? "" : "crashed: " + ending->crashed;
        }
        check_interruption();
        if (limits.seconds != 0 &&
            std::chrono::steady_clock::now() - start > std::chrono::seconds(limits.seconds)) {
            return "stopped after " + counted(limits.seconds, "second");
        }
    }
}

/// Starts a worker with a task in the folder, and waits for its end. Returns its problem, if there is one.
std::string run_process(const fs::path& folder, const WorkerLimits& limits) {
    try {
        platform::Process process(limits.program, {"worker", utf8_from(folder)});
        return wait_for(process, limits);
    } catch (const std::system_error& e) {
        throw MachineFailure("a worker cannot be started", e.code());
    }
}

Answer run_worker(Json task, const fs::path& folder, const WorkerLimits& limits) {
    task["memory"] = limits.memory;
    // The worker's own limit is for the case that this program is gone or hangs itself.
    constexpr unsigned kGrace = 5;
    constexpr unsigned kLongest = std::numeric_limits<unsigned>::max() - kGrace;
    task["seconds"] = limits.seconds == 0 ? 0 : std::min(limits.seconds, kLongest) + kGrace;
    task["parent"] = platform::own_id();
    try {
        fs::remove(folder / kAnswerFile);
        write_json(folder / kTaskFile, task);
    } catch (const std::system_error& e) {
        throw MachineFailure(utf8_from(folder) + ": no task can be written there", e.code());
    }
    std::string problem = run_process(folder, limits);
    if (!problem.empty()) {
        return {nullptr, problem};
    }
    Json answer;
    try {
        answer = read_json(folder / kAnswerFile);
    } catch (const Json::exception&) {
        return {nullptr, "ended without an answer"};
    }
    if (limits.notes != nullptr && answer.contains("note")) {
        limits.notes->add(answer["note"].get<std::string>());
    }
    if (answer.contains("machine")) {
        throw MachineFailure(answer["machine"].get<std::string>(), truth_in(answer, "no_room"));
    }
    if (answer.contains("exception")) {
        return {nullptr, answer["exception"].get<std::string>()};
    }
    return {std::move(answer), ""};
}

/// How a file of a task is named in it: by its name alone where it is in the folder.
std::string name_in_task(const fs::path& folder, const fs::path& file) {
    return file.empty()
               ? ""
               : escaped_name(utf8_from(file.parent_path() == folder ? file.filename() : fs::absolute(file)));
}

/// The worker's view of its task: names become paths that the process can open.
class Task {
  public:
    Task(const Json& json, fs::path place) : json_(json), place_(std::move(place)) {}

    [[nodiscard]] const Json& json() const { return json_; }
    /// Empty for an empty name.
    [[nodiscard]] fs::path path(const char* name) const {
        const auto text = json_.at(name).get<std::string>();
        return text.empty() ? fs::path() : place_ / path_from(unescaped_name(text));
    }
    [[nodiscard]] std::string text(const char* name) const { return utf8_from(path(name)); }
    [[nodiscard]] fs::path place() const { return place_.empty() ? fs::path(".") : place_; }

  private:
    const Json& json_;
    fs::path place_; ///< Empty where the process is in the folder.
};

std::uint64_t size_of(const fs::path& file) {
    std::error_code none;
    const auto size = fs::file_size(file, none);
    return none ? 0 : size;
}

/// A failure under a limit of memory is the photograph's only where as much memory as the work may take could
/// be had: the libraries report a lack of it by codes that mean something else. Throws std::bad_alloc.
void require_memory_for(const Task& task, std::uint64_t bytes) {
    if (task.json().at("memory").get<std::uint64_t>() != 0) {
        void* volatile room = ::operator new(static_cast<std::size_t>(bytes)); // Never touched.
        ::operator delete(room);
    }
}

/// Memory that decoding a file takes, at most: its bytes, its samples, its pixels.
std::uint64_t memory_of_decoding(const fs::path& file) {
    constexpr std::uint64_t kMost = std::uint64_t{1} << 30U;
    const std::uint64_t size = size_of(file);
    return size + std::min(7 * size, kMost);
}

/// Why files of a task could not grow as far as this; nothing when they could. All that the library writes is
/// at most twice as long: copies of both files, and the result.
std::error_code shortage(const Task& task, std::uint64_t longest) {
    if (platform::exceeds_largest_file(longest)) {
        return std::make_error_code(std::errc::file_too_large);
    }
    return platform::room_for(task.place(),
                              platform::exceeds_largest_file(2 * longest) ? longest : 2 * longest);
}

void add_room(Json& answer, const std::error_code& reason) {
    answer["room"] = MachineFailure("the result cannot be written", reason).what();
    answer["no_room"] = platform::means_no_room(reason);
}

Json do_repair(const Task& task) {
    const fs::path log = task.place() / (task.json().at("log").get<bool>() ? kLogFolder : "no-log");
    const std::string work = utf8_from(task.place());
    const std::uint64_t longest = size_of(task.path("damaged")) + size_of(task.path("sample"));
    if (MndRawInit(utf8_from(log).c_str(), utf8_from(log).c_str(), work.c_str()) != PLATE_MEND_OK &&
        task.json().at("log").get<bool>()) {
        const auto reason = shortage(task, longest);
        throw MachineFailure("the library's log cannot be written",
                             reason ? reason : std::make_error_code(std::errc::io_error));
    }
    // The library does not notice a full disk, and its own files are gone afterwards; so the room is measured
    // before and after, and goes with the answer.
    std::error_code reason = shortage(task, longest);
    const auto code = MndRawAdvanceRepair(task.text("damaged").c_str(), task.text("sample").c_str(),
                                          task.text("output").c_str());
    if (code != PLATE_MEND_OK) {
        require_memory_for(task, 2 * longest); // Both files and the result are mapped.
    }
    Json answer = {{"code", code}};
    reason = reason ? reason : shortage(task, longest);
    if (reason && size_of(task.path("output")) < longest) {
        add_room(answer, reason);
    }
    return answer;
}

Json do_salvage(const Task& task) {
    StillMendReport report{};
    const auto code =
        MndJpegGeneralRepairReport(task.text("damaged").c_str(), task.text("output").c_str(), &report);
    const fs::path picture = task.path("picture");
    if (code != STILL_MEND_OK && code != STILL_MEND_ONLY_THUMBNAIL) {
        require_memory_for(task, memory_of_decoding(task.path("damaged")));
    }
    if ((code == STILL_MEND_OK || code == STILL_MEND_ONLY_THUMBNAIL) && !picture.empty()) {
        write_jpeg_picture(task.path("output"), picture);
    }
    Json answer = to_json(SalvagedPicture{.code = code,
                                          .problem = {},
                                          .width = report.width,
                                          .height = report.height,
                                          .blocks = report.mcu_count,
                                          .blocks_own = report.own_mcu_count,
                                          .blocks_coarse = report.coarse_mcu_count,
                                          .blocks_guessed = report.guessed_mcu_count,
                                          .first_bad_byte = report.first_bad_byte,
                                          .warnings = report.warnings});
    if (code == STILL_MEND_OUTPUT_UNWRITABLE) { // In the private folder only the machine is to blame.
        const auto reason = shortage(task, size_of(task.path("damaged")));
        add_room(answer, reason ? reason : std::make_error_code(std::errc::io_error));
    }
    return answer;
}

Json do_judge(const Task& task) {
    const Judgement judgement = judge_raw(
        {task.path("result"), task.path("damaged"), task.path("sample"), task.path("picture"),
         task.json().at("filled").get<std::uint64_t>(), task.json().at("lost_in_preview").get<bool>()});
    if (!judgement.decodes) {
        require_memory_for(task, memory_of_decoding(task.path("result")));
    }
    return to_json(judgement);
}

Json do_look_for_intact(const Task& task) {
    const Judgement judgement = judge_raw({task.path("photograph"), {}, {}, task.path("picture")});
    const fs::path photograph = task.path("photograph");
    return {{"intact", judgement.decodes && judgement.findings.empty() && is_preview_whole(photograph) &&
                           !is_lost_in_preview(photograph)}};
}

Json do_look_at_preview(const Task& task) {
    return {{"lost", is_lost_in_preview(task.path("damaged"))}};
}

Json do_fill(const Task& task) {
    const fs::path result = task.path("result");
    const std::uint64_t missing = missing_at_the_end(result, task.path("sample"));
    if (missing != 0) {
        fs::resize_file(result, fs::file_size(result) + missing); // With zeros.
    }
    return {{"filled", missing}};
}

Json do_check(const Task& task) {
    return {{"opens", CheckRawFile(task.text("file").c_str()) == PLATE_MEND_OK}};
}

/// A text in which a file has its absolute path, with the name that the user gave it instead.
std::string renamed(std::string text, const std::string& whole, const std::string& given) {
    const std::size_t found = text.find(whole);
    return found == std::string::npos ? text : text.replace(found, whole.size(), given);
}

Json do_diagnose(const Task& task) {
    const auto name = [&task](const char* field) {
        return unescaped_name(task.json().at(field).get<std::string>());
    };
    const fs::path file = task.path("file");
    const fs::path sample = task.path("sample");
    try {
        Diagnosis diagnosis = diagnose(file, sample.empty() ? std::nullopt : std::optional(sample));
        diagnosis.path = name("file_name");
        if (diagnosis.sample) {
            diagnosis.sample = name("sample_name");
        }
        return {
            {"text", task.json().at("json").get<bool>() ? to_json(diagnosis) + '\n' : in_words(diagnosis)}};
    } catch (const std::runtime_error& e) {
        const std::string text = renamed(e.what(), utf8_from(file), name("file_name"));
        throw std::runtime_error(sample.empty() ? text
                                                : renamed(text, utf8_from(sample), name("sample_name")));
    }
}

struct TaskKind {
    const char* name;
    Json (*run)(const Task& task);
};

constexpr std::array kTasks = {
    TaskKind{"repair", do_repair}, TaskKind{"salvage", do_salvage},
    TaskKind{"judge", do_judge},   TaskKind{"intact", do_look_for_intact},
    TaskKind{"fill", do_fill},     TaskKind{"preview", do_look_at_preview},
    TaskKind{"check", do_check},   TaskKind{"diagnose", do_diagnose},
};

Json do_task(const Task& task) {
    const auto name = task.json().at("task").get<std::string>();
    const auto* kind =
        std::find_if(kTasks.begin(), kTasks.end(), [&](const TaskKind& one) { return one.name == name; });
    if (kind == kTasks.end()) {
        throw std::invalid_argument("no such task: " + name);
    }
    return kind->run(task);
}

/// The answer, with what went wrong in it.
Json answer_to(const Task& task) {
    try {
        return do_task(task);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const MachineFailure& e) {
        return {{"machine", e.what()}, {"no_room", e.no_room()}};
    } catch (const std::system_error& e) {
        const MachineFailure failure("a file of the work cannot be used", e.code());
        return {{"machine", failure.what()}, {"no_room", failure.no_room()}};
    } catch (const std::exception& e) {
        return {{"exception", reason_in_words(e)}};
    }
}

/// Decoders that get no memory at all crash, which would look like the photograph's fault.
void require_memory() {
    constexpr std::size_t kLeast = std::size_t{64} << 20U;
    void* volatile room = ::operator new(kLeast); // Never touched.
    ::operator delete(room);
}

void throw_for_room(const Json& answer) {
    if (answer.contains("room")) {
        throw MachineFailure(answer["room"].get<std::string>(), truth_in(answer, "no_room"));
    }
}

} // namespace

Attempt Workers::repair(const fs::path& folder, const RepairTask& task) const {
    if (log_ != nullptr) {
        fs::create_directory(folder / kLogFolder);
    }
    const Answer answer = run_worker({{"task", "repair"},
                                      {"damaged", name_in_task(folder, task.damaged)},
                                      {"sample", name_in_task(folder, task.sample)},
                                      {"output", name_in_task(folder, task.output)},
                                      {"log", log_ != nullptr}},
                                     folder, limits_);
    if (log_ != nullptr) {
        log_->take(folder / kLogFolder / kLogFile, task.title);
    }
    Attempt attempt;
    attempt.problem = answer.problem;
    if (!answer.object.is_null()) {
        attempt.code = answer.object.at("code").get<std::int32_t>();
        attempt.room_problem = text_in(answer.object, "room");
        attempt.no_room = truth_in(answer.object, "no_room");
    }
    return attempt;
}

SalvagedPicture Workers::salvage(const fs::path& folder, const SalvageTask& task) const {
    const Answer answer = run_worker({{"task", "salvage"},
                                      {"damaged", name_in_task(folder, task.damaged)},
                                      {"output", name_in_task(folder, task.output)},
                                      {"picture", name_in_task(folder, task.picture)}},
                                     folder, limits_);
    throw_for_room(answer.object);
    SalvagedPicture picture = salvage_from(answer.object);
    picture.problem = answer.problem;
    return picture;
}

std::uint64_t Workers::fill(const fs::path& folder, const fs::path& result, const fs::path& sample) const {
    const Answer answer = run_worker({{"task", "fill"},
                                      {"result", name_in_task(folder, result)},
                                      {"sample", name_in_task(folder, sample)}},
                                     folder, limits_);
    return answer.object.is_null() ? 0 : answer.object.at("filled").get<std::uint64_t>();
}

bool Workers::is_lost_in_preview(const fs::path& folder, const fs::path& damaged) const {
    const Answer answer =
        run_worker({{"task", "preview"}, {"damaged", name_in_task(folder, damaged)}}, folder, limits_);
    return answer.object.is_null() || answer.object.at("lost").get<bool>();
}

Judgement Workers::judge(const fs::path& folder, const JudgeRequest& task) const {
    const Answer answer = run_worker({{"task", "judge"},
                                      {"result", name_in_task(folder, task.result)},
                                      {"damaged", name_in_task(folder, task.damaged)},
                                      {"sample", name_in_task(folder, task.sample)},
                                      {"picture", name_in_task(folder, task.picture)},
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

bool Workers::is_intact(const fs::path& folder, const fs::path& photograph, const fs::path& picture) const {
    const Answer answer = run_worker({{"task", "intact"},
                                      {"photograph", name_in_task(folder, photograph)},
                                      {"picture", name_in_task(folder, picture)}},
                                     folder, limits_);
    return !answer.object.is_null() && answer.object.at("intact").get<bool>();
}

Workers::Look Workers::check(const fs::path& folder, const fs::path& file) const {
    const Answer answer =
        run_worker({{"task", "check"}, {"file", name_in_task(folder, file)}}, folder, limits_);
    return {.opens = truth_in(answer.object, "opens"), .text = {}, .problem = answer.problem};
}

Workers::Look Workers::diagnose(const fs::path& folder, const DiagnoseTask& task) const {
    const Answer answer = run_worker({{"task", "diagnose"},
                                      {"file", name_in_task(folder, task.file)},
                                      {"file_name", escaped_name(utf8_from(task.file))},
                                      {"sample", name_in_task(folder, task.sample)},
                                      {"sample_name", escaped_name(utf8_from(task.sample))},
                                      {"json", task.json}},
                                     folder, limits_);
    return {.opens = false, .text = text_in(answer.object, "text"), .problem = answer.problem};
}

int work(const fs::path& folder) {
    try {
        const fs::path place = platform::enter(folder);
        const Json json = read_json(place / kTaskFile);
        platform::end_with(json.at("parent").get<std::uint64_t>());
        platform::end_after(json.at("seconds").get<unsigned>());
        const bool limited = platform::limit_memory(json.at("memory").get<std::uint64_t>());
        require_memory();
        Json answer = answer_to(Task(json, place));
        if (!limited) {
            answer["note"] = "the system refuses to limit the memory of workers; they work without a limit";
        }
        write_json(place / kAnswerFile, answer);
        return 0;
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    } catch (const std::system_error& e) {
        return platform::means_no_room(e.code()) ? kNoRoom : kNoFolder;
    }
}

} // namespace plate_mend::host
