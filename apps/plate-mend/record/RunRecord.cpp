#include "record/RunRecord.h"

#include "files/Failures.h"
#include "files/InputFile.h"
#include "files/Sha256.h"
#include "platform/Files.h"
#include "platform/Names.h"
#include "record/RecordJson.h"
#include "text/Paths.h"

#include <algorithm>
#include <fstream>
#include <system_error>
#include <tuple>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

constexpr const char* kRunSchema = "plate-mend/run/1";
constexpr const char* kRuns = ".plate-mend";
constexpr const char* kLines = "records.jsonl";
constexpr const char* kPictures = "pictures";

/// With its absolute path: the next run may be started elsewhere.
Json stamped_to_json(const FileIdentity& file) {
    return Json::object({{"path", escaped_name(utf8_from(fs::absolute(path_from(file.path))))},
                         {"size", file.size},
                         {"sha256", file.sha256},
                         {"modified", file.modified},
                         {"changed", file.changed}});
}

Json stamped_to_json(const std::optional<FileIdentity>& file) {
    return file ? stamped_to_json(*file) : Json();
}

std::optional<FileIdentity> stamped_file_from(const Json& json) {
    if (json.is_null()) {
        return std::nullopt;
    }
    return FileIdentity{unescaped_name(json.required_text("path")),
                        json.integer<std::uint64_t>("size").value_or(0), json.text("sha256"),
                        json.integer<std::int64_t>("modified").value_or(0),
                        json.integer<std::int64_t>("changed").value_or(0)};
}

/// Whether the file is unchanged: by its times if they are the same, otherwise by its bytes.
bool is_unchanged(const FileIdentity& file) {
    const fs::path path = path_from(file.path);
    try {
        const auto stamp = platform::stamp_of(path);
        if (!stamp || !stamp->regular || stamp->size != file.size) {
            return false;
        }
        return (stamp->modified == file.modified && stamp->changed == file.changed) ||
               (!file.sha256.empty() && sha256_of(path) == file.sha256);
    } catch (const std::system_error&) {
        return false;
    } catch (const MachineFailure&) {
        return false;
    }
}

/// Whether a record is one of a finished file, with the results that its verdict requires.
bool is_final(const Record& record) {
    switch (record.verdict) {
    case Verdict::kWhole:
    case Verdict::kPartial:
        return record.raw.has_value();
    case Verdict::kPreviewOnly:
        return !record.raw && record.jpeg && !record.mask;
    case Verdict::kIntact:
        return !record.raw && !record.jpeg && !record.mask;
    default:
        return false;
    }
}

bool is_same(const std::optional<FileIdentity>& one, const std::optional<FileIdentity>& other) {
    return one && other ? one->size == other->size && one->sha256 == other->sha256 : !one && !other;
}

bool is_as_recorded(const std::optional<FileIdentity>& file) {
    return !file || is_unchanged(*file);
}

bool is_result_there(const std::optional<FileIdentity>& file, const std::string& key) {
    return file && platform::name_key(path_from(file->path)) == key && is_unchanged(*file);
}

/// The name of an input's picture, valid on any file system.
std::string picture_name(const std::string& key) {
    constexpr std::size_t kDigits = 32;
    Sha256 sum;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
    sum.add(reinterpret_cast<const unsigned char*>(key.data()), key.size());
    return sum.hexadecimal().substr(0, kDigits) + ".jpg";
}

/// Whether lines can be read there. This program never creates a link or a pipe.
bool is_file(const fs::path& path) {
    std::error_code none;
    return fs::is_regular_file(fs::symlink_status(path, none));
}

void refuse_link(const fs::path& path) {
    std::error_code none;
    if (fs::is_symlink(fs::symlink_status(path, none))) {
        throw MachineFailure(utf8_from(path) + ": is a link; the run's record must be a folder of its own");
    }
}

Json report_line(const fs::path& path, const platform::FileStamp& file) {
    return Json::object({{"schema", kRunSchema},
                         {"key", escaped_name(platform::name_key(path))},
                         {"volume", file.volume},
                         {"index", file.index}});
}

} // namespace

struct RunRecord::Entry {
    Record record; ///< Its results with whole paths.
    FileIdentity damaged;
    fs::path picture;
};

/// A report while it grows, or when it is complete.
struct RunRecord::Report {
    std::uint64_t volume = 0;
    std::uint64_t index = 0;
    std::optional<std::uint64_t> size; ///< Nothing, and no times, while it grows.
    std::int64_t modified = 0;
    std::int64_t changed = 0;

    [[nodiscard]] bool is(const platform::FileStamp& stamp) const {
        return volume == stamp.volume && index == stamp.index && stamp.links == 1 &&
               (!size || (*size == stamp.size && modified == stamp.modified && changed == stamp.changed));
    }
};

RunRecord::Report RunRecord::report_from(const Json& json) {
    return {json.integer<std::uint64_t>("volume").value_or(0),
            json.integer<std::uint64_t>("index").value_or(0), json.integer<std::uint64_t>("size"),
            json.integer<std::int64_t>("modified").value_or(0),
            json.integer<std::int64_t>("changed").value_or(0)};
}

std::optional<RunRecord::Entry> RunRecord::entry_from(const Json& json) {
    Entry entry{
        record_from(json.required("record")), stamped_file_from(json.required("damaged")).value(), {}};
    const auto raw = stamped_file_from(json.member("raw"));
    const auto jpeg = stamped_file_from(json.member("jpeg"));
    const auto mask = stamped_file_from(json.member("mask"));
    if (!is_final(entry.record) || !is_same(entry.record.raw, raw) || !is_same(entry.record.jpeg, jpeg) ||
        !is_same(entry.record.mask, mask)) {
        return std::nullopt;
    }
    entry.record.raw = raw;
    entry.record.jpeg = jpeg;
    entry.record.mask = mask;
    return entry;
}

RunRecord::RunRecord(const fs::path& out, const std::string& task) : folder_(out / kRuns / task) {
    refuse_link(out / kRuns);
    refuse_link(folder_);
    make_folders(folder_ / kPictures);
    try {
        lock_ = platform::Lock::take(folder_ / "lock");
    } catch (const std::system_error& e) {
        throw MachineFailure(utf8_from(folder_) + ": cannot be locked", e.code());
    }
    if (!lock_) {
        throw RunIsLocked(
            utf8_from(out) +
            ": another run is using this folder; wait for it, or give each run its own name with --task");
    }
    clear_stale_folders(folder_, Neighbours::kNone); // The lock keeps them out.
    clear_stale_folders(folder_ / kPictures, Neighbours::kNone);
    std::error_code none;
    for (fs::directory_iterator run(out / kRuns, none); !none && run != fs::directory_iterator();
         run.increment(none)) {
        load(run->path());
    }
    try {
        lines_.emplace(open_lines());
    } catch (const std::system_error& e) {
        throw MachineFailure(utf8_from(folder_ / kLines) + ": the run's record cannot be written", e.code());
    }
}

RunRecord::~RunRecord() {
    try {
        if (lines_) {
            lines_->sync();
        }
    } catch (const std::system_error&) {
        return; // The lines that matter have reached the disk before.
    }
}

void RunRecord::load(const fs::path& folder) {
    if (!is_file(folder / kLines)) {
        return;
    }
    std::ifstream lines(folder / kLines, std::ios::binary);
    std::map<std::tuple<std::string, std::uint64_t, std::uint64_t>, Report> reports; // The last line counts.
    for (std::string line; std::getline(lines, line);) {
        try {
            const Json json = Json::parse(line);
            if (json.required_text("schema") != kRunSchema) {
                continue;
            }
            const std::string key = unescaped_name(json.required_text("key"));
            if (!json.has("record")) {
                const Report report = report_from(json);
                reports[{key, report.volume, report.index}] = report;
            } else if (auto entry = entry_from(json)) {
                entry->picture = folder / kPictures / picture_name(key);
                finished_[key].push_back(std::make_shared<Entry>(std::move(*entry)));
            }
        } catch (const std::exception&) {
            continue; // The last line of an interrupted run; its file is done again.
        }
    }
    for (const auto& [file, report] : reports) {
        reports_[std::get<0>(file)].push_back(report);
    }
}

std::optional<Record> RunRecord::finished(const fs::path& input, const fs::path& raw) const {
    const auto found = finished_.find(platform::name_key(input));
    if (found == finished_.end()) {
        return std::nullopt;
    }
    const auto holds = [&](const std::shared_ptr<const Entry>& entry) {
        const auto& made = entry->record.raw;
        return is_unchanged(entry->damaged) && is_as_recorded(made) && is_as_recorded(entry->record.jpeg) &&
               is_as_recorded(entry->record.mask) &&
               (!made || platform::name_key(path_from(made->path)) == platform::name_key(raw));
    };
    const auto& entries = found->second;
    const auto entry = std::find_if(entries.rbegin(), entries.rend(), holds); // The newest first.
    if (entry == entries.rend()) {
        return std::nullopt;
    }
    Record record = (*entry)->record;
    record.damaged.path = utf8_from(input);
    if (record.raw) {
        record.raw->path = utf8_from(raw);
    }
    record.picture = read_small_file((*entry)->picture);
    return record;
}

bool RunRecord::is_own_result(const fs::path& input, const fs::path& output) const {
    const auto found = finished_.find(platform::name_key(input));
    const std::string key = platform::name_key(output);
    return found != finished_.end() &&
           std::any_of(found->second.begin(), found->second.end(), [&](const auto& entry) {
               return is_result_there(entry->record.raw, key) || is_result_there(entry->record.jpeg, key) ||
                      is_result_there(entry->record.mask, key);
           });
}

void RunRecord::add_before_delivery(const Record& record) {
    add_line(record, true);
}

void RunRecord::add(const Record& record) {
    add_line(record, false);
}

void RunRecord::add_line(const Record& record, bool at_once) {
    if (!is_final(record)) {
        return;
    }
    try {
        const std::string key = platform::name_key(path_from(record.damaged.path));
        if (!record.picture.empty()) {
            OutputFile picture(folder_ / kPictures / picture_name(key), true);
            picture.write(record.picture);
            picture.publish();
        }
        append(Json::object({{"schema", kRunSchema},
                             {"key", escaped_name(key)},
                             {"damaged", stamped_to_json(record.damaged)},
                             {"raw", stamped_to_json(record.raw)},
                             {"jpeg", stamped_to_json(record.jpeg)},
                             {"mask", stamped_to_json(record.mask)},
                             {"record", host::to_json(record)}}),
               at_once);
    } catch (const std::system_error& e) {
        throw MachineFailure(utf8_from(folder_) + ": the run's record cannot be written", e.code());
    }
}

void RunRecord::add_growing_report(const fs::path& path, const platform::FileStamp& file) {
    append(report_line(path, file));
}

void RunRecord::add_complete_report(const fs::path& path) {
    const auto stamp = platform::stamp_of(path);
    if (!stamp) {
        return; // It never appeared, or has been removed.
    }
    Json line = report_line(path, *stamp);
    line.set("size", stamp->size);
    line.set("modified", stamp->modified);
    line.set("changed", stamp->changed);
    append(line);
}

bool RunRecord::is_own_report(const fs::path& path) const {
    try {
        const auto stamp = platform::stamp_of(path);
        const auto report = reports_.find(platform::name_key(path));
        return stamp && report != reports_.end() &&
               std::any_of(report->second.begin(), report->second.end(),
                           [&](const Report& known) { return known.is(*stamp); });
    } catch (const std::system_error&) {
        return false;
    }
}

platform::NewFile RunRecord::open_lines() const {
    const fs::path file = folder_ / kLines;
    if (!platform::is_taken(file)) {
        return platform::NewFile(file);
    }
    platform::NewFile lines = platform::open_to_append(file);
    // A line that an interrupted run left incomplete must not spoil the next one.
    unsigned char last = '\n';
    if (const std::uint64_t size = lines.stamp().size; size != 0) {
        static_cast<void>(platform::SourceFile(file).read(size - 1, &last, 1));
    }
    if (last != '\n') {
        const unsigned char line_break = '\n';
        lines.write(&line_break, 1);
    }
    return lines;
}

void RunRecord::append(const Json& json, bool at_once) {
    const std::lock_guard lock(mutex_);
    const std::string text = json.line() + '\n';
    try {
        if (!lines_) {
            lines_.emplace(open_lines());
        }
        // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
        lines_->write(reinterpret_cast<const unsigned char*>(text.data()), text.size());
        if (at_once) {
            lines_->sync();
        }
    } catch (const std::system_error& e) {
        lines_.reset(); // Part of the line may be there; the next one begins after a line break.
        throw MachineFailure(utf8_from(folder_) + ": the run's record cannot be written", e.code());
    }
}

} // namespace plate_mend::host
