#include "window/Watcher.h"

#include "run/RepairSelection.h"
#include "text/Paths.h"

#include <utility>

namespace plate_mend::host {

void show_files(Board& board, const RepairSelection& selection) {
    board.change([&](WindowState& state) {
        std::map<std::string, Forecast> known;
        for (ShownFile& file : state.files) {
            if (file.forecast) {
                known.emplace(file.path, std::move(*file.forecast));
            }
        }
        state.files.clear();
        ++state.generation;
        for (const PlannedFile& planned : selection.files) {
            ShownFile file{utf8_from(planned.input.path), planned.input.kind};
            if (const auto found = known.find(file.path); found != known.end()) {
                file.forecast = std::move(found->second);
            }
            state.files.push_back(std::move(file));
        }
    });
}

Watcher::Watcher(Board& board, std::shared_ptr<Pictures> pictures)
    : board_(board), pictures_(std::move(pictures)) {}

void Watcher::selects(const RepairSelection& selection) {
    for (const PlannedFile& planned : selection.files) {
        indices_.emplace(utf8_from(planned.input.path), indices_.size());
    }
    show_files(board_, selection);
    board_.change([this](WindowState& state) { state.pictures = pictures_; });
}

void Watcher::reads_samples(std::size_t done, std::size_t total) {
    board_.change([&](WindowState& state) {
        state.run.samples_read = done;
        state.run.samples = total;
        if (done == total) {
            state.run.began = std::chrono::steady_clock::now();
        }
    });
}

void Watcher::begins(const Input& input) {
    const std::size_t index = indices_.at(utf8_from(input.path));
    board_.change([&](WindowState& state) {
        state.files.at(index).step = ShownFile::Step::kWorking;
        state.run.working.insert(index);
    });
}

void Watcher::ends(const Record& record, bool is_new) {
    summary_.add(record);
    Record shown = record;
    const auto picture = pictures_->add(std::exchange(shown.picture, ""));
    const auto sample_picture = pictures_->add(std::exchange(shown.sample_picture, ""));
    const std::size_t index = indices_.at(record.damaged.path);
    board_.change([&](WindowState& state) {
        ShownFile& file = state.files.at(index);
        file.step = ShownFile::Step::kDone;
        file.picture = picture;
        file.sample_picture = sample_picture;
        file.record = std::move(shown);
        state.run.working.erase(index);
        state.run.counts.add(record.verdict);
        ++state.run.done;
        state.run.done_now += is_new ? 1 : 0;
    });
}

std::vector<std::string> Watcher::summary(const std::filesystem::path& out) const {
    return summary_.lines({.files = indices_.size(), .results = utf8_from(out)});
}

} // namespace plate_mend::host
