#include "run/RepairRun.h"

#include "files/Failures.h"
#include "files/SafeOutput.h"
#include "platform/Names.h"
#include "record/RunRecord.h"
#include "repair/Batch.h"
#include "repair/RunLog.h"
#include "report/Notes.h"
#include "report/Reports.h"
#include "run/DryRun.h"
#include "run/ExitStatus.h"
#include "run/RepairSelection.h"
#include "run/UsageError.h"
#include "text/Paths.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>
#include <string>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// Throws UsageError for names that make no sense.
void check_names(const RepairOptions& options) {
    if (options.resume && options.out.empty()) {
        throw UsageError("--resume needs --out, where the record of the earlier run is");
    }
    if (!options.task.empty() && options.out.empty()) {
        throw UsageError("--task needs --out");
    }
    const auto is_printed = [](const std::string* report) { return *report == "-"; };
    const std::array reports{&options.json, &options.csv, &options.report};
    if (std::count_if(reports.begin(), reports.end(), is_printed) > 1) {
        throw UsageError("only one report can go to the standard output");
    }
    const bool dots = options.task.find_first_not_of('.') == std::string::npos;
    if (!options.task.empty() && (dots || options.task.find_first_of("/\\:*?\"<>|") != std::string::npos)) {
        throw UsageError("--task " + options.task + ": no name for a folder");
    }
    if (!options.log_directory.empty() && !fs::is_directory(path_from(options.log_directory))) {
        throw UsageError(options.log_directory + ": no such folder; no log can be written there");
    }
}

/// Whether a path is in a folder, by their name keys.
bool is_below(const std::string& path, const std::string& folder) {
    const fs::path relative = path_from(path).lexically_relative(path_from(folder));
    return !relative.empty() && *relative.begin() != "..";
}

/// One run, from its options to its exit status.
class RepairRun {
  public:
    RepairRun(const RepairOptions& options, const RunSurroundings& surroundings)
        : options_(options), around_(surroundings), notes_(surroundings.notes) {}

    int run() {
        try {
            return begin();
        } catch (const MachineFailure& e) {
            if (!e.no_room()) {
                throw;
            }
            notes_.add(e.what());
            note_full_disk();
            return kSomeNotDone;
        }
    }

  private:
    int begin() {
        check_names(options_);
        selection_ = select_photographs(options_, notes_);
        if (around_.observer != nullptr) {
            around_.observer->selects(selection_);
        }
        status_ = selection_.has_unread_folders ? kSomeNotDone : kAllWhole;
        refuse_removable_outputs();
        if (!options_.out.empty()) {
            record_.emplace(path_from(options_.out), options_.task.empty() ? "run" : options_.task,
                            options_.dry_run ? RunRecord::Access::kRead : RunRecord::Access::kWrite);
        }
        check_reports();
        if (options_.dry_run) {
            return std::max(status_, dry_run(selection_, options_, record_ ? &*record_ : nullptr));
        }
        clear_stale_outputs();
        if (!options_.log_directory.empty()) {
            OutputFile file = open_report(log_file());
            file.publish();
            log_.emplace(std::move(file));
        }
        return work();
    }

    /// What to do when the disk is full.
    void note_full_disk() {
        notes_.add("the disk is full, and the run stops" +
                   std::string(record_ ? "; free some space, and run the same command with --resume" : ""));
    }

    /// Writing to a failing medium may destroy what can still be read there.
    void refuse_removable_outputs() {
        if (!options_.out.empty() || !options_.output.empty() || selection_.files.empty()) {
            return;
        }
        const auto removable =
            std::find_if(selection_.files.begin(), selection_.files.end(), [this](const PlannedFile& file) {
                return around_.is_removable(folder_of(file.outputs.raw));
            });
        if (removable != selection_.files.end() && !options_.force) {
            throw UsageError(utf8_from(removable->input.path) +
                             ": is on a removable medium, and results would be written there too, which may "
                             "destroy what is left; name a folder on another disk with --out (--force "
                             "writes there all the same)");
        }
        notes_.add(
            "results are written beside the damaged files; --out FOLDER keeps them off a failing disk");
    }

    void clear_stale_outputs() const {
        std::set<fs::path> folders;
        for (const PlannedFile& file : selection_.files) {
            folders.insert(folder_of(file.outputs.raw));
        }
        for (const fs::path& folder : folders) {
            clear_stale_folders(folder);
        }
    }

    [[nodiscard]] bool is_result(const std::string& key) const {
        return std::any_of(selection_.files.begin(), selection_.files.end(), [&](const PlannedFile& file) {
            return platform::name_key(file.outputs.raw) == key ||
                   platform::name_key(file.outputs.jpeg) == key ||
                   platform::name_key(file.outputs.mask) == key ||
                   platform::name_key(file.outputs.sidecar) == key ||
                   platform::name_key(file.outputs.other_jpeg) == key;
        });
    }

    [[nodiscard]] bool may_replace(const fs::path& report) const {
        return options_.force || (options_.resume && record_ && record_->is_own_report(report));
    }

    /// A file, or the folder of the contact sheet's pictures.
    void check_report(const fs::path& path, decltype(refuse_output)* refuse = refuse_output) {
        const std::string key = platform::name_key(path);
        if (is_result(key)) {
            throw UsageError(utf8_from(path) + ": is also the path of a result");
        }
        if (record_ && is_below(key, platform::name_key(record_->folder().parent_path()))) {
            throw UsageError(utf8_from(path) + ": is in the folder of the run's own record");
        }
        if (!report_names_.insert(key).second) {
            throw UsageError(utf8_from(path) + ": is named for two reports");
        }
        if (const auto refusal = refuse(path, selection_.inputs, may_replace(path))) {
            throw UsageError(*refusal);
        }
        reports_.push_back(path);
    }

    /// Checks all of them before the first is started, so that a refused run replaces none.
    void check_reports() {
        if (!options_.log_directory.empty()) {
            check_report(log_file());
        }
        for (const std::string& report : {options_.json, options_.csv, options_.report}) {
            if (!report.empty() && report != "-") {
                check_report(path_from(report));
            }
        }
        if (!options_.report.empty() && options_.report != "-") {
            check_report(pictures_folder_of(path_from(options_.report)), refuse_pictures);
        }
    }

    [[nodiscard]] fs::path log_file() const { return path_from(options_.log_directory) / "PlateMend.log"; }

    /// Starts a report or a log, as a private file first.
    OutputFile open_report(const fs::path& path) {
        clear_stale_folders(folder_of(path));
        OutputFile report(path, may_replace(path));
        if (record_) {
            record_->add_growing_report(path, report.stamp());
        }
        return report;
    }

    SheetPictures open_pictures(const fs::path& page) {
        const fs::path folder = pictures_folder_of(page);
        SheetPictures pictures(page, selection_.inputs, may_replace(folder));
        if (record_) {
            record_->add_growing_report(folder, pictures.stamp());
        }
        return pictures;
    }

    int work() {
        const int status = work_with_reports();
        log_.reset();
        for (const fs::path& report : reports_) {
            if (record_) {
                record_->add_complete_report(report);
            }
        }
        return status;
    }

    BatchListener listener_for(Reports& reports) {
        RunObserver* const observer = around_.observer;
        return {[&reports, observer](std::size_t done, std::size_t total) {
                    reports.read_samples(done, total);
                    if (observer != nullptr) {
                        observer->reads_samples(done, total);
                    }
                },
                [&reports, observer](const Input& input) {
                    reports.begin(utf8_from(input.path));
                    if (observer != nullptr) {
                        observer->begins(input);
                    }
                },
                [this, &reports, observer](const Record& record, bool is_new) {
                    status_ = std::max(status_, status_of(record.verdict));
                    reports.add(record, is_new);
                    if (observer != nullptr) {
                        observer->ends(record, is_new);
                    }
                },
                [this](const std::string& problem) { notes_.add(problem); }};
    }

    int work_with_reports() {
        const Workers workers(
            {around_.program, options_.limits.seconds, options_.limits.memory_mib << 20U, &notes_},
            log_ ? &*log_ : nullptr);
        Reports reports(
            {options_.json, options_.csv, options_.report, options_.quiet, options_.silent},
            selection_.files.size(), [this](const fs::path& path) { return open_report(path); },
            [this](const fs::path& page) { return open_pictures(page); });
        const BatchEnd end = run_batch({.files = selection_.files,
                                        .samples = selection_.samples,
                                        .inputs = selection_.inputs,
                                        .workers = workers,
                                        .repair = {.work = record_ ? record_->folder() : fs::path(),
                                                   .force = options_.force,
                                                   .resume = options_.resume,
                                                   .fill = !options_.no_fill,
                                                   .fallback = !options_.no_fallback,
                                                   .pictures = options_.pictures || !options_.report.empty(),
                                                   .most_samples = options_.most_samples},
                                        .jobs = jobs_of(options_),
                                        .record = record_ ? &*record_ : nullptr},
                                       listener_for(reports));
        reports.close({.files = selection_.files.size(),
                       .stopped = end != BatchEnd::kDone,
                       .resumable = record_.has_value(),
                       .results = options_.output.empty() ? options_.out : options_.output,
                       .contact_sheet = options_.report == "-" ? "" : options_.report});
        if (end == BatchEnd::kNoRoom) {
            note_full_disk();
            status_ = std::max(status_, kSomeNotDone);
        }
        return end == BatchEnd::kStopped ? kInterrupted : status_;
    }

    const RepairOptions& options_;
    const RunSurroundings& around_;
    Notes& notes_;
    RepairSelection selection_;
    std::optional<RunRecord> record_;
    std::set<std::string> report_names_; ///< Name keys.
    std::vector<fs::path> reports_;      ///< And logs.
    std::optional<RunLog> log_;
    int status_ = kAllWhole;
};

} // namespace

int run_repairs(const RepairOptions& options, const RunSurroundings& surroundings) {
    return RepairRun(options, surroundings).run();
}

} // namespace plate_mend::host
