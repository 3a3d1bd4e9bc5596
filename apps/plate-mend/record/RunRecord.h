#pragma once

#include "files/SafeOutput.h"
#include "platform/Files.h"
#include "record/Json.h"
#include "record/Record.h"

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace plate_mend::host {

/// Another run of the same name is at work in the folder of results. what() says what to do.
class RunIsLocked : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What a run into a folder of results knows of itself, kept in that folder for the run that goes on with it:
///
///     OUT/.plate-mend/TASK/lock            held while a run of that name works
///     OUT/.plate-mend/TASK/records.jsonl   lines about finished files, only ever appended to
///     OUT/.plate-mend/TASK/pictures/       the small pictures for contact sheets
///     OUT/.plate-mend/TASK/.plate-mend-*   working folders, which go with the run
///
/// A finished file is one whose record has a verdict that is the photograph's own, and whose input and
/// results are on the disk as they were recorded: same size and times, or else the same SHA-256 sum. Nothing
/// else is trusted; whatever was "not done" is never recorded. A file with results is recorded twice: before
/// they take their places, so that a run which is killed then leaves none that nobody knows of, and after
/// that, with their times.
class RunRecord {
  public:
    /// Takes the run's place in the folder of results, which is made where it is missing, and reads what
    /// former runs of any name finished there. Throws RunIsLocked, and MachineFailure.
    RunRecord(const std::filesystem::path& out, const std::string& task);
    RunRecord(const RunRecord&) = delete;
    RunRecord& operator=(const RunRecord&) = delete;
    ~RunRecord();

    /// Where the run's working folders go.
    [[nodiscard]] const std::filesystem::path& folder() const { return folder_; }

    /// The record of an input that is finished, with its picture; nothing for any other. `raw` is where the
    /// repaired photograph would go now. Throws Interrupted.
    [[nodiscard]] std::optional<Record> finished(const std::filesystem::path& input,
                                                 const std::filesystem::path& raw) const;

    /// Whether a former run made what is at `output` from this input, and nobody changed it since. Throws
    /// Interrupted.
    [[nodiscard]] bool is_own_result(const std::filesystem::path& input,
                                     const std::filesystem::path& output) const;

    /// Records a file, if it is finished: with results that are about to take their places, without times; or
    /// with results that are there, and have reached the disk. May be called by several threads. Throws
    /// MachineFailure.
    void add(const Record& record);

    /// Remembers what is at a path as this run's report, so that the run which goes on may replace it. A
    /// complete one, which nothing has open any more, is the run's own only as long as nobody changes it.
    /// Throws MachineFailure, and std::system_error.
    void add_report(const std::filesystem::path& path, bool is_complete);
    /// Whether the file at a path is a report of a run here.
    [[nodiscard]] bool is_own_report(const std::filesystem::path& path) const;

  private:
    struct Entry;  ///< A line of the record.
    struct Report; ///< Another kind of line.

    void load(const std::filesystem::path& folder);
    [[nodiscard]] static Report report_from(const Json& json);
    /// Nothing for a record of what is not finished.
    [[nodiscard]] static std::optional<Entry> entry_from(const Json& json);
    void append(const Json& json);
    [[nodiscard]] platform::NewFile open_lines() const;

    std::filesystem::path folder_;
    std::optional<platform::Lock> lock_;
    std::map<std::string, std::vector<std::shared_ptr<const Entry>>> finished_; ///< By the input's name key.
    std::map<std::string, std::vector<Report>> reports_;                        ///< By their name keys.
    std::optional<platform::NewFile> lines_;
    std::mutex mutex_; ///< Of what add() changes.
};

} // namespace plate_mend::host
