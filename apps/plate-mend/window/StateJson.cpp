#include "window/StateJson.h"

#include "report/Card.h"
#include "report/Facts.h"
#include "report/LostAreas.h"
#include "report/Progress.h"
#include "report/Words.h"
#include "text/Format.h"
#include "text/Paths.h"
#include "text/Text.h"

namespace plate_mend::host {

namespace {

Json counts_to_json(const std::map<std::string, std::size_t>& counts) {
    Json json = Json::array();
    for (const auto& [name, count] : counts) {
        json.append(Json::object({{"name", printable(name)}, {"count", count}}));
    }
    return json;
}

Json texts_to_json(const std::vector<std::string>& texts) {
    Json json = Json::array();
    for (const std::string& text : texts) {
        json.append(printable(text));
    }
    return json;
}

Json folders_to_json(const ChosenFolders& folders) {
    return Json::object({{"damaged", to_json(folders.damaged)},
                         {"samples", to_json(folders.samples)},
                         {"out", to_json(folders.out)}});
}

const char* name_of(Activity activity) {
    switch (activity) {
    case Activity::kRecognising:
        return "recognising";
    case Activity::kRepairing:
        return "repairing";
    case Activity::kSaving:
        return "saving";
    case Activity::kNone:
        break;
    }
    return "none";
}

Json room_to_json(const std::vector<RoomNeed::Disk>& disks) {
    Json json = Json::array();
    for (const RoomNeed::Disk& disk : disks) {
        json.append(Json::object({{"text", printable(disk.text)}, {"too_little", disk.has_too_little}}));
    }
    return json;
}

std::map<std::string, std::size_t> with_shown_names(const std::map<std::string, std::size_t>& counts) {
    std::map<std::string, std::size_t> shown;
    for (const auto& [path, count] : counts) {
        shown[base_name(path)] += count;
    }
    return shown;
}

std::map<std::string, std::size_t> with_upper_names(const std::map<std::string, std::size_t>& counts) {
    std::map<std::string, std::size_t> shown;
    for (const auto& [kind, count] : counts) {
        shown[upper(kind)] += count;
    }
    return shown;
}

Json to_json(const Recognised& known) {
    return Json::object({{"complete", known.is_complete},
                         {"samples", known.samples},
                         {"samples_read", known.samples_read},
                         {"studied", known.studied},
                         {"finished", known.finished},
                         {"not_done", known.not_done},
                         {"kinds", counts_to_json(with_upper_names(known.kinds))},
                         {"cameras", counts_to_json(known.cameras)},
                         {"sample_cameras", counts_to_json(known.sample_cameras)},
                         {"fits", counts_to_json(with_shown_names(known.fits))},
                         {"room", room_to_json(known.room)}});
}

/// What is left, by the time that the files of this run took; nothing if that is not known yet.
std::optional<double> seconds_left(const ShownRun& run, std::size_t files, double seconds) {
    if (run.has_ended || run.done_now == 0) {
        return std::nullopt;
    }
    return seconds / static_cast<double>(run.done_now) * static_cast<double>(files - run.done);
}

Json run_to_json(const WindowState& state, std::chrono::steady_clock::time_point now) {
    const ShownRun& run = state.run;
    const auto end = run.has_ended ? run.ended : now;
    const double seconds = std::chrono::duration<double>(end - run.began).count();
    const auto left = seconds_left(run, state.files.size(), seconds);
    Json working = Json::array();
    for (const std::size_t index : run.working) {
        working.append(printable(base_name(state.files.at(index).path)));
    }
    return Json::object({{"begun", run.has_begun},
                         {"ended", run.has_ended},
                         {"stopped", run.was_stopped},
                         {"done", run.done},
                         {"samples", run.samples},
                         {"samples_read", run.samples_read},
                         {"took", format_duration(seconds)},
                         {"left", left ? Json(format_duration(*left)) : Json()},
                         {"working", working},
                         {"summary", texts_to_json(run.summary)}});
}

/// Every verdict, in the order and in the words of all reports.
Json verdicts_to_json(const Counts& counts) {
    Json json = Json::array();
    for (const Verdict verdict : kVerdicts) {
        json.append(Json::object(
            {{"slug", slug_of(verdict)}, {"word", describe(verdict)}, {"count", counts.of(verdict)}}));
    }
    return json;
}

std::string slug_of(const ShownFile& file) {
    return file.step == ShownFile::Step::kWorking ? "working"
           : file.record                          ? slug_of(file.record->verdict)
                                                  : "waiting";
}

std::string word_of(const ShownFile& file) {
    return file.step == ShownFile::Step::kWorking             ? "at work"
           : file.record                                      ? describe(file.record->verdict)
           : file.forecast && file.forecast->finished         ? "done already"
           : file.forecast && !file.forecast->problem.empty() ? "would not be done"
                                                              : "waiting";
}

/// One line about a file, for the list.
std::string line_of(const ShownFile& file) {
    if (file.record) {
        const std::string share = share_of(*file.record);
        const auto findings = findings_of(*file.record);
        return !share.empty()     ? share
               : findings.empty() ? join(facts_of(*file.record), " · ")
                                  : findings.front();
    }
    if (!file.forecast || file.forecast->finished) {
        return "";
    }
    const Forecast& forecast = *file.forecast;
    return !forecast.problem.empty() ? forecast.problem
           : forecast.sample
               ? "sample " + base_name(utf8_from(forecast.sample->path)) + " (" + forecast.sample->why + ")"
               : "no sample but the file itself";
}

Json row_to_json(const ShownFile& file, std::size_t index) {
    const Attempt* taken = file.record ? file.record->taken() : nullptr;
    return Json::object({{"id", index},
                         {"name", printable(base_name(file.path))},
                         {"folder", printable(folder_name(file.path))},
                         {"slug", slug_of(file)},
                         {"word", word_of(file)},
                         {"line", printable(line_of(file))},
                         {"share", taken == nullptr ? Json() : Json(taken->judgement.share())},
                         {"picture", file.picture.has_value()}});
}

Json areas_to_json(const std::vector<FrameArea>& areas) {
    Json json = Json::array();
    for (const FrameArea& area : areas) {
        Json one = Json::array();
        for (const std::uint32_t number : {area.left, area.top, area.width, area.height}) {
            one.append(number);
        }
        json.append(one);
    }
    return json;
}

Json areas_of(const Record& record) {
    const Attempt* taken = record.taken();
    const DrawnAreas drawn = taken == nullptr ? DrawnAreas() : drawn_areas(*taken);
    return Json::object({{"width", drawn.size.width},
                         {"height", drawn.size.height},
                         {"lost", areas_to_json(drawn.lost)},
                         {"doubtful", areas_to_json(drawn.doubtful)}});
}

Json origins_to_json(const Record& record) {
    Json json = Json::array();
    for (const Origin& origin : origins_of(record)) {
        json.append(
            Json::object({{"name", printable(origin.part)},
                          {"text", printable(origin.before + origin.name + origin.after + origin.date)}}));
    }
    return json;
}

Json paths_to_json(const Record& record) {
    Json json = Json::array();
    const auto add = [&](const char* name, const std::string& path) {
        json.append(Json::object({{"name", name}, {"text", printable(path)}}));
    };
    add("Damaged file", record.damaged.path);
    if (record.raw) {
        add("RAW photograph written", record.raw->path);
    }
    if (record.jpeg) {
        add("JPEG written", record.jpeg->path);
    }
    if (record.sidecar) {
        add("Own date and settings written", record.sidecar->path);
    }
    if (const Attempt* taken = record.taken()) {
        add("Sample taken", taken->sample + (taken->why.empty() ? "" : " (" + taken->why + ")"));
    }
    return json;
}

} // namespace

Json to_json(const std::filesystem::path& path) {
    if (path.empty()) {
        return {};
    }
    const std::string bytes = utf8_from(path);
    return Json::object({{"path", escaped_name(bytes)}, {"text", printable(bytes)}});
}

Json to_json(const WindowState& state, std::uint64_t version, std::chrono::steady_clock::time_point now) {
    return Json::object({{"version", version},
                         {"activity", name_of(state.activity)},
                         {"stopping", state.is_stopping},
                         {"folders", folders_to_json(state.folders)},
                         {"files", state.files.size()},
                         {"generation", state.generation},
                         {"recognised", to_json(state.recognised)},
                         {"run", run_to_json(state, now)},
                         {"verdicts", verdicts_to_json(state.run.counts)},
                         {"notes", texts_to_json(state.notes)},
                         {"problem", printable(state.problem)},
                         {"sheet", to_json(state.sheet)}});
}

Json files_to_json(const WindowState& state, const FilesRequest& request) {
    Json rows = Json::array();
    std::size_t total = 0;
    for (std::size_t index = 0; index < state.files.size(); ++index) {
        const ShownFile& file = state.files[index];
        if (request.show.empty() || slug_of(file) == request.show) {
            if (total >= request.from && total - request.from < request.count) {
                rows.append(row_to_json(file, index));
            }
            ++total;
        }
    }
    return Json::object(
        {{"total", total}, {"from", request.from}, {"generation", state.generation}, {"files", rows}});
}

Json to_json(const WindowState& state, std::size_t index) {
    const ShownFile& file = state.files.at(index);
    Json json = row_to_json(file, index);
    json.set("sample_picture", file.sample_picture.has_value());
    if (file.record) {
        json.set("facts", texts_to_json(facts_of(*file.record)));
        json.set("share_text", share_of(*file.record));
        json.set("findings", texts_to_json(findings_of(*file.record)));
        json.set("origins", origins_to_json(*file.record));
        json.set("paths", paths_to_json(*file.record));
        json.set("areas", areas_of(*file.record));
    }
    return json;
}

} // namespace plate_mend::host
