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
        const std::size_t files = board_.read(
            [](const WindowState& state, std::uint64_t /*version*/) { return state.files.size(); });
        for (std::size_t index = 0; index < files; ++index) {
            check_interruption();
            if (const auto record = record_of(index)) {
                report.add(*record);
            }
        }
        report.close(board_.read(
            [](const WindowState& state, std::uint64_t /*version*/) { return state.run.was_stopped; }));
        record_.add_complete_report(page_);
        record_.add_complete_report(folder_);
        return page_;
    }

  private:
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

    /// Of a file, with its pictures; nothing if it is not done. The list stays while the sheet is saved.
    [[nodiscard]] std::optional<Record> record_of(std::size_t index) const {
        const auto [file, pictures] = board_.read([&](const WindowState& state, std::uint64_t /*version*/) {
            return std::pair(state.files.at(index), state.pictures);
        });
        std::optional<Record> record = file.record;
        if (record) {
            record->picture = file.picture ? pictures->read(*file.picture) : "";
            record->sample_picture = file.sample_picture ? pictures->read(*file.sample_picture) : "";
        }
        return record;
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
