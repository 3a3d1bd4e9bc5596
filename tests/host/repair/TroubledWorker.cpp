#include "host/repair/TroubledWorker.h"

#include "platform/Files.h"
#include "platform/Process.h"
#include "repair/WorkerFiles.h"
#include "text/Paths.h"

#include <cstdlib>
#include <fstream>
#include <future>
#include <optional>
#include <string>

namespace test {

namespace {

namespace fs = std::filesystem;
namespace host = plate_mend::host;
namespace platform = plate_mend::host::platform;
using host::Json;

[[noreturn]] void hang(const fs::path& folder) {
    const platform::NewFile ready(folder / "hangs");
    std::promise<void>().get_future().wait();
    std::abort();
}

/// What happens instead of an answer.
void make_trouble(const std::string& task, const fs::path& folder) {
    if (task == "crash") {
        std::abort();
    } else if (task == "hang") {
        hang(folder);
    } else if (task == "no memory") {
        std::_Exit(host::kOutOfMemory);
    }
}

/// Leaves the answer, and replies.
void answer(const std::string& task, const fs::path& folder, unsigned number) {
    if (task == "answer nonsense") {
        std::ofstream(folder / host::kAnswerFile) << "{\"process\":";
    } else if (task != "no answer") {
        host::write_json(folder / host::kAnswerFile,
                         Json::object({{"process", platform::own_id()}, {"number", number}}));
    }
    if (task == "end") {
        std::_Exit(0);
    }
    platform::reply(task == "reply nonsense" ? '?' : host::kTaskDone);
    if (task == "reply twice") {
        platform::reply(host::kTaskDone);
        const platform::NewFile replied(folder / "replied");
    } else if (task == "end afterwards") {
        std::_Exit(0);
    }
}

} // namespace

int work_with_troubles(const fs::path& folder) {
    std::ofstream(folder / "starts", std::ios::app) << platform::own_id() << '\n';
    unsigned number = 1;
    for (auto next = std::optional(host::utf8_from(folder)); next; next = platform::receive(), ++number) {
        const fs::path place = host::path_from(*next);
        const Json task = host::read_json(place / host::kTaskFile);
        platform::end_with(task.required_integer<std::uint64_t>("parent"));
        if (task.has("output")) {
            const platform::NewFile output(place / task.required_text("output"));
        }
        const bool is_troubled = number > 1 || !task.truth("if_used");
        const std::string what = is_troubled ? task.required_text("task") : "answer";
        make_trouble(what, place);
        answer(what, place, number);
    }
    return 0;
}

} // namespace test
