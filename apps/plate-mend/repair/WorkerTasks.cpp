#include "repair/WorkerTasks.h"

#include "diagnose/Diagnosis.h"
#include "files/Failures.h"
#include "judge/Judge.h"
#include "judge/Picture.h"
#include "judge/Preview.h"
#include "platform/Files.h"
#include "record/RecordJson.h"
#include "repair/OwnPictures.h"
#include "repair/OwnSettings.h"
#include "repair/RawEngine.h"
#include "repair/WorkerFiles.h"
#include "text/Paths.h"

#include <plate_mend/plate_mend.h>
#include <raw_mend/raw_mend.h>
#include <still_mend/still_mend.h>

#include <algorithm>
#include <array>
#include <new>
#include <optional>
#include <stdexcept>
#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// A task whose names have become paths that this process can open.
class Task {
  public:
    Task(Json json, fs::path folder) : json_(std::move(json)), folder_(std::move(folder)) {}

    /// Empty for an empty name.
    [[nodiscard]] fs::path path(const char* member) const {
        const std::string name = text(member);
        return name.empty() ? fs::path() : folder_ / path_from(unescaped_name(name));
    }
    /// The bytes of a path, as the libraries take them.
    [[nodiscard]] std::string path_bytes(const char* member) const { return utf8_from(path(member)); }
    [[nodiscard]] std::string text(const char* member) const { return json_.required_text(member); }
    [[nodiscard]] bool truth(const char* member) const { return json_.required_truth(member); }
    [[nodiscard]] std::uint64_t number(const char* member) const {
        return json_.required_integer<std::uint64_t>(member);
    }
    [[nodiscard]] std::optional<std::uint64_t> number_or_nothing(const char* member) const {
        return json_.integer<std::uint64_t>(member);
    }
    [[nodiscard]] std::optional<FoundImage> image() const { return found_image_from(json_.member("image")); }
    [[nodiscard]] fs::path folder() const { return folder_.empty() ? fs::path(".") : folder_; }

  private:
    Json json_;
    fs::path folder_; ///< Empty where the process is in the folder.
};

std::uint64_t size_of(const fs::path& file) {
    std::error_code none;
    const auto size = fs::file_size(file, none);
    return none ? 0 : size;
}

/// With a memory limit, a failure is the photograph's only if as much memory as the work may need is
/// available: the libraries report a lack of it with codes that mean something else. Throws std::bad_alloc.
void require_memory_for(const Task& task, std::uint64_t bytes) {
    if (task.number("memory") != 0) {
        require_memory(bytes);
    }
}

/// The most memory that decoding a file takes: its bytes, its samples, its pixels.
std::uint64_t memory_of_decoding(const fs::path& file) {
    constexpr std::uint64_t kMost = std::uint64_t{1} << 30U;
    const std::uint64_t size = size_of(file);
    return size + std::min(7 * size, kMost);
}

/// Why the files of a task cannot grow to this length; nothing when they can. Everything that the library
/// writes is at most twice as long: copies of both files, and the result.
std::error_code shortage(const Task& task, std::uint64_t longest) {
    if (platform::exceeds_largest_file(longest)) {
        return std::make_error_code(std::errc::file_too_large);
    }
    return platform::room_for(task.folder(),
                              platform::exceeds_largest_file(2 * longest) ? longest : 2 * longest);
}

void add_room(Json& answer, const std::error_code& reason) {
    answer.set("room", MachineFailure("the result cannot be written", reason).what());
    answer.set("no_room", platform::means_no_room(reason));
}

Json do_repair(const Task& task) {
    const fs::path log = task.folder() / (task.truth("log") ? kWorkerLogFolder : "no-log");
    const std::string work = utf8_from(task.folder());
    const std::uint64_t longest = size_of(task.path("damaged")) + size_of(task.path("sample"));
    if (MndRawInit(utf8_from(log).c_str(), utf8_from(log).c_str(), work.c_str()) != PLATE_MEND_OK &&
        task.truth("log")) {
        const auto reason = shortage(task, longest);
        throw MachineFailure("the library's log cannot be written",
                             reason ? reason : std::make_error_code(std::errc::io_error));
    }
    // The library does not notice a full disk, and removes its own files; so the free space is checked before
    // and after, and reported in the answer.
    std::error_code reason = shortage(task, longest);
    const auto code =
        MndRawAdvanceRepair(task.path_bytes("damaged").c_str(), task.path_bytes("sample").c_str(),
                            task.path_bytes("output").c_str());
    if (code != PLATE_MEND_OK) {
        require_memory_for(task, 2 * longest); // Both files and the result are mapped.
    }
    Json answer = Json::object({{"code", code}});
    reason = reason ? reason : shortage(task, longest);
    if (reason && size_of(task.path("output")) < longest) {
        add_room(answer, reason);
    }
    return answer;
}

Json do_raw_repair(const Task& task) {
    const RawRepair repair =
        run_raw_engine(task.path("damaged"), task.path("sample"), task.path("output"), task.truth("fill"));
    if (repair.code == RAW_MEND_DAMAGED_UNREADABLE || repair.code == RAW_MEND_SAMPLE_UNREADABLE) {
        require_memory_for(task,
                           size_of(task.path("damaged")) + size_of(task.path("sample"))); // Both mapped.
    }
    Json answer = Json::object({{"code", repair.code}, {"image", to_json(repair.image)}});
    if (repair.code == RAW_MEND_OUTPUT_UNWRITABLE) { // In the private folder only the machine is to blame.
        const auto reason = shortage(task, size_of(task.path("damaged")) + size_of(task.path("sample")));
        add_room(answer, reason ? reason : std::make_error_code(std::errc::io_error));
    }
    return answer;
}

Json do_replace_pictures(const Task& task) {
    const ReplacedPictures pictures =
        replace_pictures(task.path("photograph"), task.path("sample"), task.path("output"));
    return Json::object({{"pictures", pictures.pictures}, {"replaced", pictures.replaced}});
}

Json do_find_metadata(const Task& task) {
    return Json::object(
        {{"metadata", to_json(find_own_metadata({.damaged = task.path("damaged"),
                                                 .result = task.path("result"),
                                                 .image = task.number_or_nothing("image_offset"),
                                                 .sample = task.text("sample_name"),
                                                 .sidecar = task.path("sidecar")}))}});
}

Json do_salvage(const Task& task) {
    StillMendReport report{};
    const std::string damaged = task.path_bytes("damaged");
    const std::string output = task.path_bytes("output");
    const auto code = task.path("sample").empty()
                          ? MndJpegGeneralRepairReport(damaged.c_str(), output.c_str(), &report)
                          : MndJpegSampleRepair(damaged.c_str(), task.path_bytes("sample").c_str(),
                                                output.c_str(), &report);
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
    const Judgement judgement =
        judge_raw({task.path("result"), task.path("damaged"), task.path("sample"), task.path("picture"),
                   task.number("filled"), task.truth("lost_in_preview"), task.image()});
    if (!judgement.decodes) {
        require_memory_for(task, memory_of_decoding(task.path("result")));
    }
    return to_json(judgement);
}

Json do_check_intact(const Task& task) {
    const Judgement judgement = judge_raw({task.path("photograph"), {}, {}, task.path("picture")});
    const fs::path photograph = task.path("photograph");
    const bool intact = judgement.decodes && judgement.findings.empty() && is_preview_whole(photograph) &&
                        !is_lost_in_preview(photograph);
    return Json::object({{"intact", intact}});
}

Json do_check_preview(const Task& task) {
    return Json::object({{"lost", is_lost_in_preview(task.path("damaged"))}});
}

Json do_fill(const Task& task) {
    const fs::path result = task.path("result");
    const std::uint64_t missing = missing_at_the_end(result, task.path("sample"));
    if (missing != 0) {
        fs::resize_file(result, fs::file_size(result) + missing); // With zeros.
    }
    return Json::object({{"filled", missing}});
}

Json do_check(const Task& task) {
    return Json::object({{"opens", CheckRawFile(task.path_bytes("file").c_str()) == PLATE_MEND_OK}});
}

/// A text with a file's absolute path replaced by the name that the user gave.
std::string replace_name(std::string text, const std::string& whole, const std::string& given) {
    const std::size_t found = text.find(whole);
    return found == std::string::npos ? text : text.replace(found, whole.size(), given);
}

Json do_diagnose(const Task& task) {
    const auto name = [&task](const char* field) { return unescaped_name(task.text(field)); };
    const fs::path file = task.path("file");
    const fs::path sample = task.path("sample");
    try {
        Diagnosis diagnosis = diagnose(file, sample.empty() ? std::nullopt : std::optional(sample));
        diagnosis.path = name("file_name");
        if (diagnosis.sample) {
            diagnosis.sample = name("sample_name");
        }
        return Json::object(
            {{"text", task.truth("json") ? to_json_line(diagnosis) + '\n' : describe(diagnosis)}});
    } catch (const std::runtime_error& e) {
        const std::string text = replace_name(e.what(), utf8_from(file), name("file_name"));
        throw std::runtime_error(sample.empty() ? text
                                                : replace_name(text, utf8_from(sample), name("sample_name")));
    }
}

/// The function for tasks with a name. It returns the members of the answer.
struct TaskFunction {
    const char* name;
    Json (*run)(const Task& task);
};

constexpr std::array kTasks = {
    TaskFunction{"repair", do_repair},
    TaskFunction{"raw", do_raw_repair},
    TaskFunction{"pictures", do_replace_pictures},
    TaskFunction{"metadata", do_find_metadata},
    TaskFunction{"salvage", do_salvage},
    TaskFunction{"judge", do_judge},
    TaskFunction{"intact", do_check_intact},
    TaskFunction{"fill", do_fill},
    TaskFunction{"preview", do_check_preview},
    TaskFunction{"check", do_check},
    TaskFunction{"diagnose", do_diagnose},
};

Json run_task(const Task& task) {
    const auto name = task.text("task");
    const auto* found =
        std::find_if(kTasks.begin(), kTasks.end(), [&](const TaskFunction& one) { return one.name == name; });
    if (found == kTasks.end()) {
        throw std::runtime_error("no such task: " + name);
    }
    return found->run(task);
}

/// The libraries keep a log open, and LibRaw's object after a file that it does not open.
bool leaves_something(const Task& task, const Json& answer) {
    const auto name = task.text("task");
    return (name == "repair" && task.truth("log")) || (name == "check" && !answer.truth("opens"));
}

} // namespace

void require_memory(std::uint64_t bytes) {
    void* volatile room = ::operator new(static_cast<std::size_t>(bytes)); // Never touched.
    ::operator delete(room);
}

TaskAnswer do_task(const Json& task, const fs::path& place) {
    try {
        const Task readable(task, place);
        Json answer = run_task(readable);
        const bool is_clean = !leaves_something(readable, answer);
        return {std::move(answer), is_clean};
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const MachineFailure& e) {
        return {Json::object({{"machine", e.what()}, {"no_room", e.no_room()}}), false};
    } catch (const std::system_error& e) {
        const MachineFailure failure("a file of the work cannot be used", e.code());
        return {Json::object({{"machine", failure.what()}, {"no_room", failure.no_room()}}), false};
    } catch (const std::exception& e) {
        return {Json::object({{"exception", describe_error(e)}}), false};
    }
}

} // namespace plate_mend::host
