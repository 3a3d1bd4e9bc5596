#include "window/ContactSheet.h"

#include "files/Failures.h"
#include "record/RunRecord.h"
#include "report/Html.h"
#include "report/Reports.h"
#include "run/UsageError.h"

#include <optional>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// The work of one call of save_contact_sheet.
class SheetSaver {
  public:
    explicit SheetSaver(const Board& board)
        : board_(board), out_(board.read([](const WindowState& state, std::uint64_t /*version*/) {
              return state.folders.out;
          })),
          record_(out_, "run"), page_(out_ / "contact-sheet.html"), folder_(pictures_folder_of(page_)) {}

    fs::path run() {
        check();
        HtmlReport report(open(), open_pictures(), creator_text());
        std::size_t index = 0;
        while (const auto record = record_at(index++)) {
            check_interruption();
            if (record->verdict) {
                report.add(record->record);
            }
        }
        report.close(board_.read(
            [](const WindowState& state, std::uint64_t /*version*/) { return state.run.was_stopped; }));
        record_.add_complete_report(page_);
        if (std::error_code none; fs::is_directory(folder_, none)) {
            record_.add_complete_report(folder_);
        }
        return page_;
    }

  private:
    /// A file of the board; without a verdict if it is not done yet.
    struct Entry {
        bool verdict = false;
        Record record;
    };

    void check() const {
        if (const auto refusal = refuse_output(page_, inputs_, record_.is_own_report(page_))) {
            throw UsageError(*refusal);
        }
        if (const auto refusal = refuse_pictures(folder_, inputs_, record_.is_own_report(folder_))) {
            throw UsageError(*refusal);
        }
    }

    OutputFile open() {
        OutputFile file(page_, record_.is_own_report(page_));
        record_.add_growing_report(page_, file.stamp());
        return file;
    }

    SheetPictures open_pictures() {
        SheetPictures pictures(page_, inputs_, record_.is_own_report(folder_));
        record_.add_growing_report(folder_, pictures.stamp());
        return pictures;
    }

    std::optional<Entry> record_at(std::size_t index) const {
        std::shared_ptr<Pictures> pictures;
        std::optional<ShownFile> file;
        board_.read([&](const WindowState& state, std::uint64_t /*version*/) {
            pictures = state.pictures;
            if (index < state.files.size()) {
                file = state.files[index];
            }
        });
        if (!file) {
            return std::nullopt;
        }
        Entry entry;
        if (file->record) {
            entry = {true, std::move(*file->record)};
            entry.record.picture = file->picture ? pictures->read(*file->picture) : "";
            entry.record.sample_picture = file->sample_picture ? pictures->read(*file->sample_picture) : "";
        }
        return entry;
    }

    const Board& board_;
    fs::path out_;
    RunRecord record_;
    fs::path page_;
    fs::path folder_;
    Protected inputs_; ///< None are in the folder of results.
};

} // namespace

fs::path save_contact_sheet(const Board& board) {
    return SheetSaver(board).run();
}

} // namespace plate_mend::host
