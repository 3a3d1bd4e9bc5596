#pragma once

#include "files/SafeOutput.h"
#include "platform/Files.h"
#include "record/Json.h"
#include "record/Record.h"

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace plate_mend::host {

/// Another run with the same name is using the folder of results. what() says what to do.
class RunIsLocked : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The record that a run keeps in its folder of results, for a run that continues it:
///
///     OUT/.plate-mend/TASK/lock            held while a run with that name is working
///     OUT/.plate-mend/TASK/records.jsonl   lines about finished files, only ever appended to
///     OUT/.plate-mend/TASK/pictures/       the small pictures for contact sheets
///     OUT/.plate-mend/TASK/.plate-mend-*   working folders, removed with the run
///
/// A file is finished if its record has a verdict on the photograph itself, and if its input and results are
/// on the disk as recorded: with the same size and times, or else with the same SHA-256 sum. Nothing else is
/// trusted; a file that was "not done" is never recorded. A file with results is recorded twice: before they
/// are delivered, so that a run that is killed then leaves no unknown results, and after that, with their
/// times.
class RunRecord {
  public:
    enum class Access {
        kWrite, ///< Locks the run's part of the folder of results, which is created if missing.
        kRead,  ///< Changes nothing, whatever other runs do; add() and its like must not be called.
    };

    /// Reads what earlier runs with any name finished there. Throws RunIsLocked, and MachineFailure.
    RunRecord(const std::filesystem::path& out, const std::string& task, Access access = Access::kWrite);
    RunRecord(const RunRecord&) = delete;
    RunRecord& operator=(const RunRecord&) = delete;
    ~RunRecord();

    /// The parent of the run's working folders.
    [[nodiscard]] const std::filesystem::path& folder() const { return folder_; }

    /// The record of a finished input, with its picture; nothing for any other. `raw` is the path that the
    /// repaired photograph would get now. Throws Interrupted.
    [[nodiscard]] std::optional<Record> finished(const std::filesystem::path& input,
                                                 const std::filesystem::path& raw) const;

    /// Whether what is at `output` is an earlier run's result for this input, unchanged. Throws Interrupted.
    [[nodiscard]] bool is_own_result(const std::filesystem::path& input,
                                     const std::filesystem::path& output) const;

    /// Records a file, if it is finished. May be called by several threads. Both throw MachineFailure.
    /// Before its results are delivered, without their times: the line has reached the disk on return.
    void add_before_delivery(const Record& record);
    /// After its results have reached the disk. The line does so with the next one, or at the end of the run:
    /// without it the results' bytes show that they are there.
    void add(const Record& record);

    /// Remembers a file, or the folder of a contact sheet's pictures, as this run's report, so that a run
    /// that continues this one may replace it, before it gets its name: a run that ends in between leaves
    /// none that is not known. Throws MachineFailure.
    void add_growing_report(const std::filesystem::path& path, const platform::FileStamp& file);
    /// Remembers what is at a path as this run's report, now complete: it counts as the run's own only while
    /// it is unchanged. Throws MachineFailure, and std::system_error.
    void add_complete_report(const std::filesystem::path& path);
    /// Whether the file or folder at a path is a report of a run here. What is in a folder is not examined.
    [[nodiscard]] bool is_own_report(const std::filesystem::path& path) const;

  private:
    struct Entry;  ///< A line about a file.
    struct Report; ///< A line about a report.

    void occupy(const std::filesystem::path& out);
    void load_all(const std::filesystem::path& runs);
    void load(const std::filesystem::path& folder);
    [[nodiscard]] static Report report_from(const Json& json);
    /// Nothing for a record of what is not finished.
    [[nodiscard]] static std::optional<Entry> entry_from(const Json& json);
    void add_line(const Record& record, bool at_once);
    /// Writes it, unless this run has done so.
    void keep_sample_picture(const std::string& name, const std::string& bytes);
    /// Adds a line. Returns when it has reached the disk, if that is to be at once.
    void append(const Json& json, bool at_once = true);
    [[nodiscard]] platform::NewFile open_lines() const;

    std::filesystem::path folder_;
    std::optional<platform::Lock> lock_;
    std::map<std::string, std::vector<std::shared_ptr<const Entry>>> finished_; ///< By the input's name key.
    std::map<std::string, std::vector<Report>> reports_;                        ///< By their name keys.
    std::optional<platform::NewFile> lines_;
    std::mutex mutex_; ///< Guards what add() changes.
    std::mutex sample_pictures_mutex_;
    std::set<std::string> sample_pictures_; ///< Names of those that this run has written.
};

} // namespace plate_mend::host
