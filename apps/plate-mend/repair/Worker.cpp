#include "repair/Worker.h"

#include "platform/Files.h"
#include "platform/Process.h"
#include "record/Json.h"
#include "repair/WorkerFiles.h"
#include "repair/WorkerTasks.h"
#include "text/Paths.h"

#include <cstdint>
#include <new>
#include <optional>
#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// Decoders that get no memory at all crash, which would look like the photograph's fault.
constexpr std::uint64_t kLeastMemory = std::uint64_t{64} << 20U;

/// A worker ends after as many tasks, so that leaks which nothing shows add up to no more than theirs. To
/// start the next one takes about 5 ms: a hundredth of a millisecond per task.
constexpr unsigned kMostTasks = 500;

/// A worker ends when it has so much more memory than before its first task. After photographs of 24 MB, one
/// has 42 MiB in all while it waits for the next.
constexpr std::uint64_t kMostGrowth = std::uint64_t{256} << 20U;

/// The part of a limit on memory that a worker may have kept when it does another task. Threads that LibRaw
/// has started for one count: 70 MiB each.
constexpr std::uint64_t kPartOfLimit = 8;

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
        return answer.is_clean && tasks_ < kMostTasks && !has_grown();
    }

  private:
    /// All tasks of a worker have the same limit.
    void begin(const Json& task) {
        platform::end_with(task.required_integer<std::uint64_t>("parent"));
        limit_ = task.required_integer<std::uint64_t>("memory");
        limited_ = platform::limit_memory(limit_);
        first_ = platform::own_memory();
    }

    [[nodiscard]] bool has_grown() const {
        const platform::OwnMemory now = platform::own_memory();
        return now.used > first_.used + kMostGrowth ||
               (limit_ != 0 && now.counted > first_.counted + limit_ / kPartOfLimit);
    }

    unsigned tasks_ = 0;
    std::uint64_t limit_ = 0; ///< In bytes; 0 for none.
    bool limited_ = true;
    platform::OwnMemory first_; ///< Before the first task.
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
