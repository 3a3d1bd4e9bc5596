#pragma once

#include "files/SafeOutput.h"
#include "record/Record.h"
#include "report/Html.h"
#include "report/Progress.h"
#include "report/Summary.h"

#include <cstddef>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>

namespace plate_mend::host {

/// Which reports a run writes. Names are bytes of paths; an empty name means none, "-" the standard output.
struct ReportOptions {
    std::string json;
    std::string csv;
    std::string html;
    bool quiet = false;  ///< Print nothing but the summary, and that on a terminal only.
    bool silent = false; ///< Print not even that.
};

/// Who made a report, and when: "plate-mend 1.0, 2026-05-01 12:30". Not for several threads at once.
[[nodiscard]] std::string creator_text();

/// Starts a report's file. Throws MachineFailure.
using ReportOpener = std::function<OutputFile(const std::filesystem::path& path)>;

/// Starts the pictures of a contact sheet with this path. Throws MachineFailure.
using PicturesOpener = std::function<SheetPictures(const std::filesystem::path& page)>;

/// All reports of a run. Each is complete after each record, except the contact sheet, which appears at the
/// end.
class Reports {
  public:
    /// Starts them, for a run over this many files. Throws what the openers throw, and MachineFailure.
    Reports(const ReportOptions& options, std::size_t files, const ReportOpener& open,
            const PicturesOpener& open_pictures);

    /// Samples are read: how many are done, of how many.
    void read_samples(std::uint64_t done, std::uint64_t total) { progress_.read_samples(done, total); }

    /// The work on a file begins.
    void begin(const std::string& path) { progress_.begin(path); }

    /// Adds a record. One from an earlier run goes to files only, not to the standard output. Throws
    /// MachineFailure when a report cannot be written.
    void add(const Record& record, bool is_new);

    /// Ends them, and prints the summary of the run. Throws as add does.
    void close(const RunEnd& end);

  private:
    /// JSON Lines or a table: a file, or the standard output.
    class Lines {
      public:
        Lines(const std::string& name, const ReportOpener& open);
        void write(const std::string& text, bool is_new);

      private:
        std::optional<OutputFile> file_; ///< Nothing: the standard output.
    };

    [[nodiscard]] std::filesystem::path printed_page() const { return printed_->path() / "sheet.html"; }
    void print_page() const;

    std::optional<Lines> json_;
    std::optional<Lines> csv_;
    std::optional<PrivateFolder> printed_; ///< Where a contact sheet for the standard output is made.
    Protected nothing_;                    ///< Is protected there.
    std::optional<HtmlReport> html_;
    Progress progress_;
    Summary summary_;
    std::ostream* summary_stream_ = nullptr; ///< Null: nobody reads it.
};

} // namespace plate_mend::host
