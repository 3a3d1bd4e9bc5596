#pragma once

#include "Record.h"
#include "report/Words.h"

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

namespace plate_mend::host {

/// The contact sheet: one page that needs nothing else, neither network nor other files. Records are written
/// as they come and not kept, so that a page may have any number of them.
///
/// The page is written to a file of its name with ".part" behind it, which takes the name when the page is
/// closed. So a page is whole, or is not there.
///
/// The fragment of the page's address chooses what is shown: "#verdict=partial&sort=rows&find=0042". Verdicts
/// are "whole", "partial", "preview-only", "not-repaired", several with commas between; sort is "order" (as
/// written), "name", "verdict", "size" or "rows"; find is a part of a name.
class HtmlReport {
  public:
    /// Starts a page. `made` stands in its foot, such as "plate-mend 1.0, 2026-05-01 12:30".
    /// Throws std::runtime_error when the file cannot be written.
    HtmlReport(std::filesystem::path file, std::string made);
    HtmlReport(const HtmlReport&) = delete;
    HtmlReport& operator=(const HtmlReport&) = delete;
    /// Removes a page that was not closed.
    ~HtmlReport();

    /// Adds a file. Throws std::runtime_error when it cannot be written, such as on a full disk.
    void add(const Record& record);

    /// Writes the summary and puts the page in its place; what stood there is replaced. A page of a run that
    /// was interrupted says so. Nothing may be added behind it. Throws std::runtime_error or
    /// std::filesystem::filesystem_error; the page is not there then.
    void close(bool interrupted = false);

  private:
    void write(std::string_view text);
    [[nodiscard]] std::string summary(bool interrupted) const;

    std::filesystem::path file_;
    std::filesystem::path part_;
    std::string made_;
    std::string script_; // Of the page, with its tags.
    std::ofstream stream_;
    std::ofstream::pos_type summary_place_;
    Counts counts_;
};

/// One file's entry in the page.
[[nodiscard]] std::string html_card(const Record& record, std::uint64_t number);

} // namespace plate_mend::host
