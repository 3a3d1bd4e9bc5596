#pragma once

#include "files/SafeOutput.h"
#include "record/Record.h"
#include "report/Markup.h"
#include "report/SheetPictures.h"
#include "report/Spool.h"
#include "report/Words.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace plate_mend::host {

/// The contact sheet: one page that needs no network, with its pictures in it. Where that would take more
/// than kLargestPage, they are in a folder beside it. Entries and pictures are kept on the disk as they come,
/// so a page may have any number of them. With more than kMostInFull files, the page's script makes each
/// entry when it comes near the window.
///
/// The page gets its name when it is closed, after the pictures, so a page is complete or does not exist.
///
/// The fragment of the page's address chooses what is shown: "#verdict=partial&sort=rows&find=0042". Verdicts
/// are "whole", "intact", "partial", "preview-only", "not-repaired", "not-done", several with commas between;
/// sort is "order" (as written), "name", "verdict", "size" or "rows"; find is a part of a name or of a
/// folder; view is "large" or "compact".
class HtmlReport {
  public:
    /// A page with its pictures is at most this long, in bytes: most mail servers accept it as an attachment,
    /// and a browser shows it within half a second.
    static constexpr std::uint64_t kLargestPage = std::uint64_t{10} << 20U;

    /// Entries of about sixty elements that a browser lays out without a noticeable delay.
    static constexpr std::uint64_t kMostInFull = 250;

    /// Where the page is read.
    enum class Use {
        kFile,    ///< Where its file is.
        kPrinted, ///< Anywhere: its pictures are in it, whatever their size, and its links begin in the
                  ///< current folder.
    };

    /// Starts a page in a file that is still empty. `made` goes into its footer, such as "plate-mend 1.0,
    /// 2026-05-01 12:30". Throws MachineFailure when the file cannot be written.
    HtmlReport(OutputFile file, SheetPictures pictures, std::string made, Use use = Use::kFile);

    /// Adds a file. Throws MachineFailure when it cannot be written, for example on a full disk.
    void add(const Record& record);

    /// Puts the page together and publishes it, with the folder of pictures if there is one; the folder of an
    /// earlier page at its place goes. The page says so if the run was interrupted. Nothing may be added
    /// afterwards. Throws MachineFailure; then the page does not exist.
    void close(bool interrupted = false);

  private:
    /// A file's entry, in the spool.
    struct Entry {
        Spool::Place tag;
        Spool::Place content; ///< kPicturePlace stands for the address of its picture.
        std::string picture;  ///< Its name; empty: none.
    };
    /// The files of a folder.
    struct Group {
        Counts counts;
        std::vector<Entry> entries;
    };

    void write(std::string_view text) { file_.write(text); }
    void write_page(bool interrupted);
    void write_group(const std::string& folder, const Group& group);
    void write_contents();
    void write_samples();
    [[nodiscard]] std::string content_of(const Entry& entry) const;
    [[nodiscard]] std::string header(bool interrupted) const;
    [[nodiscard]] std::string address_of(const std::string& picture) const;
    [[nodiscard]] bool embeds() const {
        return use_ == Use::kPrinted || spool_->size() + embedded_size_ <= kLargestPage;
    }
    [[nodiscard]] bool is_in_full() const { return counts_.total() <= kMostInFull; }

    OutputFile file_;
    std::optional<SheetPictures> pictures_; ///< Nothing after close(), and so for the spool.
    std::string made_;
    Use use_;
    Links links_;
    std::string pictures_address_;    ///< Of their folder, with a slash.
    std::optional<Spool> spool_;      ///< In the pictures' private folder.
    std::uint64_t embedded_size_ = 0; ///< What the pictures take inside the page.
    Counts counts_;
    std::map<std::string, Group> groups_; ///< By their folders.
    std::set<std::string> samples_;       ///< Names of their pictures.
};

} // namespace plate_mend::host
