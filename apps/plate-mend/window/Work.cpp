#include "window/Work.h"

#include "files/Failures.h"
#include "platform/Files.h"
#include "report/Notes.h"
#include "run/RepairRun.h"
#include "window/ContactSheet.h"
#include "window/Recognition.h"
#include "window/Watcher.h"

#include <exception>
#include <memory>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

void end_run(Board& board, const std::vector<std::string>& summary) {
    board.change([&](WindowState& state) {
        state.run.has_ended = true;
        state.run.was_stopped = state.files.empty() || state.run.done != state.files.size();
        state.run.ended = std::chrono::steady_clock::now();
        state.run.working.clear();
        for (ShownFile& file : state.files) {
            file.step = file.record ? ShownFile::Step::kDone : ShownFile::Step::kWaiting;
        }
        state.run.summary = state.run.done == 0 ? std::vector<std::string>() : summary;
    });
}

} // namespace

Work::Work(Board& board, fs::path program, std::function<void()> ends)
    : board_(board), program_(std::move(program)), ends_(std::move(ends)) {}

void Work::recognise(const std::function<void(ChosenFolders& folders)>& choose) {
    jobs_.end();
    ChosenFolders chosen;
    board_.change([&](WindowState& state) {
        choose(state.folders);
        chosen = state.folders;
        state.activity = chosen.are_complete() ? Activity::kRecognising : Activity::kNone;
        state.files.clear();
        state.pictures.reset();
        ++state.generation;
        state.recognised = {};
        state.run = {};
        state.notes.clear();
        state.sheet.clear();
    });
    if (chosen.are_complete()) {
        begin(Activity::kRecognising, [this, chosen] { host::recognise(chosen, board_); });
    }
}

void Work::repair() {
    begin(Activity::kRepairing, [this, chosen = folders()] { run(chosen); });
}

void Work::save_sheet() {
    begin(Activity::kSaving, [this] {
        const fs::path page = save_contact_sheet(board_);
        board_.change([&](WindowState& state) { state.sheet = page; });
    });
}

void Work::stop() {
    board_.change([](WindowState& state) { state.is_stopping = state.activity != Activity::kNone; });
    jobs_.stop();
}

void Work::end() {
    jobs_.end();
}

void Work::begin(Activity activity, std::function<void()> work) {
    jobs_.end();
    board_.change([&](WindowState& state) {
        state.activity = activity;
        state.is_stopping = false;
        state.problem.clear();
    });
    jobs_.begin([this, work = std::move(work)] {
        std::string problem;
        try {
            work();
        } catch (const Interrupted&) {
            // The user knows.
        } catch (const std::exception& e) {
            problem = describe_error(e);
        }
        ends_();
        board_.change([&](WindowState& state) {
            state.activity = Activity::kNone;
            state.is_stopping = false;
            state.problem = problem;
        });
    });
}

void Work::run(const ChosenFolders& folders) {
    board_.change([](WindowState& state) {
        state.run = {.has_begun = true, .began = std::chrono::steady_clock::now()};
        state.notes.clear();
    });
    Notes notes([this](const std::string& note) {
        board_.change([&](WindowState& state) { state.notes.push_back(note); });
    });
    Watcher watcher(board_, std::make_shared<Pictures>(folders.out / ".plate-mend" / "run"));
    const std::function<bool(const fs::path&)> is_removable = platform::is_removable;
    try {
        static_cast<void>(run_repairs(options_for(folders), {program_, is_removable, notes, &watcher}));
    } catch (...) {
        end_run(board_, watcher.summary(folders.out));
        throw;
    }
    end_run(board_, watcher.summary(folders.out));
}

ChosenFolders Work::folders() const {
    return board_.read([](const WindowState& state, std::uint64_t /*version*/) { return state.folders; });
}

} // namespace plate_mend::host
