#pragma once

#include "files/SafeOutput.h"
#include "record/Record.h"
#include "report/Words.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace plate_mend::host {

/// The contact sheet: one page that needs neither a network nor other files. Records are written as they come
/// and are not kept in memory, so a page may have any number of them.
///
/// The page gets its name when it is closed, so a page is complete or does not exist.
///
/// The fragment of the page's address chooses what is shown: "#verdict=partial&sort=rows&find=0042". Verdicts
/// are "whole", "intact", "partial", "preview-only", "not-repaired", "not-done", several with commas between;
/// sort is "order" (as written), "name", "verdict", "size" or "rows"; find is a part of a name.
class HtmlReport {
  public:
    /// Starts a page in a file that is still empty. `made` goes into its footer, such as "plate-mend 1.0,
    /// 2026-05-01 12:30". Throws MachineFailure when the file cannot be written.
    HtmlReport(OutputFile file, std::string made);

    /// Adds a file. Throws MachineFailure when it cannot be written, for example on a full disk.
    void add(const Record& record);

    /// Writes the summary and publishes the page. The page says so if the run was interrupted. Nothing may be
    /// added afterwards. Throws MachineFailure; then the page does not exist.
    void close(bool interrupted = false);

  private:
    void write(std::string_view text);
    [[nodiscard]] std::string summary(bool interrupted) const;

    OutputFile file_;
    std::string made_;
    std::string script_; // Of the page, with its tags.
    std::uint64_t length_ = 0;
    std::uint64_t summary_place_ = 0;
    Counts counts_;
};

/// One file's entry in the page.
[[nodiscard]] std::string html_card(const Record& record, std::uint64_t number);

} // namespace plate_mend::host
