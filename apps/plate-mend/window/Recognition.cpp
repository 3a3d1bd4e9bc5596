#include "window/Recognition.h"

#include "files/Failures.h"
#include "record/RunRecord.h"
#include "report/Notes.h"
#include "run/Forecast.h"
#include "run/RepairSelection.h"
#include "run/RoomNeed.h"
#include "text/Format.h"
#include "text/Paths.h"
#include "window/Watcher.h"

#include <optional>

namespace plate_mend::host {

namespace {

/// Several cameras' names as one text: a file may hold traces of more than one.
std::string cameras_text(const std::set<std::string>& cameras) {
    return join({cameras.begin(), cameras.end()}, ", ");
}

void show_samples(Board& board, const Samples& samples) {
    board.change([&](WindowState& state) {
        for (const SampleFacts& sample : samples.facts()) {
            ++state.recognised.sample_cameras[cameras_text(sample.photograph.models)];
        }
    });
}

void show(Board& board, std::size_t index, Forecast forecast) {
    board.change([&](WindowState& state) {
        Recognised& known = state.recognised;
        ++known.studied;
        known.finished += forecast.finished ? 1 : 0;
        known.not_done += forecast.problem.empty() ? 0 : 1;
        if (forecast.problem.empty() && !forecast.finished) {
            ++known.cameras[cameras_text(forecast.cameras)];
        }
        if (forecast.sample) {
            ++known.fits[utf8_from(forecast.sample->path)];
        }
        state.files.at(index).forecast = std::move(forecast);
    });
}

} // namespace

RepairOptions options_for(const ChosenFolders& folders) {
    RepairOptions options;
    options.paths = {utf8_from(folders.damaged)};
    options.sample_folders = {utf8_from(folders.samples)};
    options.out = utf8_from(folders.out);
    options.resume = true;
    options.silent = true;
    options.pictures = true;
    return options;
}

void recognise(const ChosenFolders& folders, Board& board) {
    Notes notes([&](const std::string& note) {
        board.change([&](WindowState& state) { state.notes.push_back(note); });
    });
    const RepairOptions options = options_for(folders);
    const RepairSelection selection = select_photographs(options, notes);
    show_files(board, selection);
    board.change([&](WindowState& state) {
        for (const PlannedFile& file : selection.files) {
            ++state.recognised.kinds[file.input.kind];
        }
    });
    std::optional<RunRecord> record;
    if (std::error_code none; !folders.out.empty() && std::filesystem::is_directory(folders.out, none)) {
        record.emplace(folders.out, "run", RunRecord::Access::kRead);
    }
    const Forecaster forecaster(selection, {options.force, options.resume}, record ? &*record : nullptr,
                                [&](std::size_t done, std::size_t total) {
                                    board.change([&](WindowState& state) {
                                        state.recognised.samples_read = done;
                                        state.recognised.samples = total;
                                    });
                                });
    show_samples(board, forecaster.samples());
    RoomNeed need;
    for (std::size_t index = 0; index < selection.files.size(); ++index) {
        check_interruption();
        Forecast forecast = forecaster.study(selection.files[index]);
        need.add(selection.files[index], forecast);
        show(board, index, std::move(forecast));
    }
    board.change([&, room = need.disks(jobs_of(options))](WindowState& state) {
        state.recognised.room = room;
        state.recognised.is_complete = true;
    });
}

} // namespace plate_mend::host
