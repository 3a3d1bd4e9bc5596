#include "repair/Worker.h"

#include "platform/Files.h"
#include "platform/Process.h"
#include "record/Json.h"
#include "repair/WorkerFiles.h"
#include "repair/WorkerTasks.h"
#include "text/Paths.h"

#include <algorithm>
#include <cstdint>
#include <new>
#include <optional>
#include <system_error>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// Decoders that get no memory at all crash, which would look like the photograph's fault.
constexpr std::uint64_t kLeastMemory = std::uint64_t{64} << 20U;

/// A worker ends after as many tasks: leaks that cannot be seen add up to no more than those of these tasks.
/// Starting the next one costs less than a hundredth of as many tasks of the shortest kind.
constexpr unsigned kMostTasks = 500;

/// A worker ends when it has so much more memory than before its first task: more than what threads of LibRaw
/// and the allocator keep for the next task (150 MB after photographs of 24 MB).
constexpr std::uint64_t kMostGrowth = std::uint64_t{256} << 20U;

/// One worker, from its first task to its last.
class Worker {
  public:
    /// Does a task. Returns whether the worker may do another. Throws std::bad_alloc, JsonError, and
    /// std::system_error.
    bool run(const fs::path& folder) {
        const fs::path place = platform::enter(folder);
        const Json task = read_json(place / kTaskFile);
        if (tasks_++ == 0) {
            begin(task);
        }
        platform::end_after(task.required_integer<unsigned>("seconds"));
        require_memory(kLeastMemory);
        TaskAnswer answer = do_task(task, place);
        if (!limited_) {
            answer.json.set("note",
                            "the system refuses to limit the memory of workers; they work without a limit");
        }
        write_json(place / kAnswerFile, answer.json);
        platform::leave();
        platform::end_after(0);
        return answer.is_clean && tasks_ < kMostTasks && platform::own_memory() < most_memory_;
    }

  private:
    /// All tasks of a worker have the same limit.
    void begin(const Json& task) {
        platform::end_with(task.required_integer<std::uint64_t>("parent"));
        const auto limit = task.required_integer<std::uint64_t>("memory");
        limited_ = platform::limit_memory(limit);
        // Most of the limit is left for every task.
        most_memory_ = platform::own_memory() + (limit == 0 ? kMostGrowth : std::min(kMostGrowth, limit / 8));
    }

    unsigned tasks_ = 0;
    bool limited_ = true;
    std::uint64_t most_memory_ = 0;
};

} // namespace

int serve(const fs::path& folder) {
    try {
        Worker worker;
        for (auto next = std::optional(folder); next && worker.run(*next);) {
            platform::reply(kTaskDone);
            const auto name = platform::receive();
            next = name ? std::optional(path_from(*name)) : std::nullopt;
        }
        return 0;
    } catch (const std::bad_alloc&) {
        return kOutOfMemory;
    } catch (const std::system_error& e) {
        return platform::means_no_room(e.code()) ? kNoRoom : kNoFolder;
    }
}

} // namespace plate_mend::host
