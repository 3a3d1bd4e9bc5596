#pragma once

#include "record/Record.h"
#include "report/Words.h"
#include "run/Forecast.h"
#include "run/RoomNeed.h"
#include "window/Pictures.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace plate_mend::host {

/// What the user chose; empty paths: nothing yet.
struct ChosenFolders {
    std::filesystem::path damaged;
    std::filesystem::path samples;
    std::filesystem::path out;

    [[nodiscard]] bool are_complete() const { return !damaged.empty() && !samples.empty() && !out.empty(); }
    bool operator==(const ChosenFolders&) const = default;
};

/// A damaged file as the window shows it.
struct ShownFile {
    enum class Step { kWaiting, kWorking, kDone };

    std::string path; ///< As bytes.
    std::string kind; ///< As kind_of returns it.
    Step step = Step::kWaiting;
    std::optional<Forecast> forecast{}; ///< Nothing until it was studied.
    std::optional<Record> record{};     ///< Once it is done; without pictures.
    std::optional<Spool::Place> picture{};
    std::optional<Spool::Place> sample_picture{};
    std::optional<Spool::Place> preview{};
    bool preview_was_sought = false;
};

/// What was recognised before a run.
struct Recognised {
    std::size_t samples = 0;      ///< How many there are,
    std::size_t samples_read = 0; ///< and of how many the heads have been read.
    std::size_t studied = 0;      ///< Damaged files.
    std::size_t finished = 0;     ///< Of these, those that an earlier run finished.
    std::size_t not_done = 0;     ///< Of these, those that a run would not do.
    bool is_complete = false;
    std::map<std::string, std::size_t> kinds{};          ///< Of damaged files; "" for unknown ones.
    std::map<std::string, std::size_t> cameras{};        ///< Likewise.
    std::map<std::string, std::size_t> sample_cameras{}; ///< Likewise, of samples.
    std::map<std::string, std::size_t> fits{}; ///< How many files each sample is the first choice for.
    std::vector<RoomNeed::Disk> room{};        ///< Once it is complete.
};

/// A run, under way or ended.
struct ShownRun {
    bool has_begun = false;
    bool has_ended = false;
    bool was_stopped = false;
    std::size_t done = 0;
    std::size_t done_now = 0; ///< Of these, those that no earlier run had finished.
    std::size_t samples = 0;
    std::size_t samples_read = 0;
    Counts counts{};
    std::set<std::size_t> working{}; ///< Indices of files.
    std::chrono::steady_clock::time_point began{};
    std::chrono::steady_clock::time_point ended{};
    std::vector<std::string> summary{}; ///< Lines.
};

/// What the program is doing.
enum class Activity { kNone, kRecognising, kRepairing, kSaving };

/// All that the window shows.
struct WindowState {
    ChosenFolders folders{};
    Activity activity = Activity::kNone;
    bool is_stopping = false;
    std::vector<ShownFile> files{};
    std::shared_ptr<Pictures> pictures{}; ///< Of the files. Null before the first run.
    std::uint64_t generation = 0;         ///< Changes with the list of files.
    Recognised recognised{};
    ShownRun run{};
    std::vector<std::string> notes{};
    std::string problem{}; ///< Why the last activity failed; empty if it did not.
    std::filesystem::path sheet{};
};

/// The state, for several threads, and those who wait for changes.
class Board {
  public:
    /// Changes the state; everybody who waits is notified.
    template <typename Change>
    void change(Change&& change) {
        const std::lock_guard lock(mutex_);
        std::forward<Change>(change)(state_);
        ++version_;
        changed_.notify_all();
    }

    /// What a function of the state and its version returns.
    template <typename Look>
    auto read(Look&& look) const {
        const std::lock_guard lock(mutex_);
        return std::forward<Look>(look)(state_, version_);
    }

    /// Waits until the version is another one than this, at most so long, or until nobody should wait any
    /// more.
    void wait_beyond(std::uint64_t version, std::chrono::milliseconds time) const;

    /// From now on nobody waits.
    void release();

  private:
    mutable std::mutex mutex_;
    mutable std::condition_variable changed_;
    WindowState state_;
    std::uint64_t version_ = 1;
    bool is_released_ = false;
};

} // namespace plate_mend::host
