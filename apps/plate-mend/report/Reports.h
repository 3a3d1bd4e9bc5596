#pragma once

#include "Record.h"
#include "report/Html.h"
#include "report/Progress.h"

#include <cstddef>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>

namespace plate_mend::host {

/// What reports a run writes. Names are UTF-8; empty ones stand for none, "-" for the standard output.
struct ReportOptions {
    std::string json;
    std::string csv;
    std::string html;
    bool quiet = false;  ///< Nothing is told on the terminal.
    bool force = false;  ///< Existing reports are replaced.
    bool resume = false; ///< JSON Lines are continued, others replaced.
};

/// A report's file exists and may not be replaced, or cannot be written. what() names it.
class ReportExists : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// All reports of a run. Each is complete after each record, but the contact sheet, which appears in the end.
class Reports {
  public:
    /// Starts them, for a run over so many files. Throws ReportExists; nothing was written then.
    Reports(const ReportOptions& options, std::size_t files);

    /// The work on a file begins; its path is UTF-8.
    void begin(const std::string& path) { progress_.begin(path); }

    /// Tells of a record. One that is not new stands in the JSON Lines already. Throws std::runtime_error
    /// when a report cannot be written.
    void add(const Record& record, bool is_new);

    /// Ends them. Throws as add does.
    void close(bool interrupted);

  private:
    /// JSON Lines or a table: a file, or the standard output.
    class Lines {
      public:
        Lines(const std::string& name, bool continued);
        void write(const std::string& text);

      private:
        std::ofstream file_; ///< Not open: the standard output.
    };

    std::optional<Lines> json_;
    std::optional<Lines> csv_;
    std::optional<HtmlReport> html_;
    Progress progress_;
};

} // namespace plate_mend::host
