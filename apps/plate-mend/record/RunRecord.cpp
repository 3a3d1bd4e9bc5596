#include "record/RunRecord.h"

#include "files/Failures.h"
#include "files/InputFile.h"
#include "files/Sha256.h"
#include "platform/Files.h"
#include "platform/Names.h"
#include "record/RecordJson.h"
#include "record/StampedFile.h"
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

/// Whether a record is one of a finished file, with the results that its verdict requires.
bool is_final(const Record& record) {
    switch (record.verdict) {
    case Verdict::kWhole:
    case Verdict::kPartial:
        return record.raw.has_value();
    case Verdict::kPreviewOnly:
        return !record.raw && record.jpeg && !record.mask && !record.sidecar;
    case Verdict::kIntact:
        return !record.raw && !record.jpeg && !record.mask && !record.sidecar;
    default:
        return false;
    }
}

/// Sidecars are for other programs to write to: that leaves nothing to be done again.
bool is_still_there(const std::optional<FileIdentity>& sidecar) {
    std::error_code none;
    return !sidecar || fs::exists(path_from(sidecar->path), none);
}

constexpr std::size_t kPictureDigits = 32; ///< In the name of a picture.
constexpr const char* kPictureExtension = ".jpg";

/// The name of an input's picture, by the input's key, or of a sample's, by its bytes; valid on any file
/// system.
std::string picture_name(const std::string& key) {
    Sha256 sum;
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast): texts are of char.
    sum.add(reinterpret_cast<const unsigned char*>(key.data()), key.size());
    return sum.hexadecimal().substr(0, kPictureDigits) + kPictureExtension;
}

/// Whether a name in the record is one, and leads nowhere else.
bool is_picture_name(const std::string& name) {
    return name.size() > kPictureDigits && name.find_first_not_of("0123456789abcdef") == kPictureDigits &&
           name.substr(kPictureDigits) == kPictureExtension;
}

void write_picture(const fs::path& file, const std::string& bytes) {
    OutputFile picture(file, true);
    picture.write(bytes);
    picture.publish();
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
    fs::path sample_picture; ///< Empty: none.
};

/// A report while it grows, or when it is complete.
struct RunRecord::Report {
    std::uint64_t volume = 0;
    std::uint64_t index = 0;
    std::optional<std::uint64_t> size; ///< Nothing, and no times, while it grows.
    std::int64_t modified = 0;
    std::int64_t changed = 0;

    [[nodiscard]] bool is(const platform::FileStamp& stamp) const {
        return volume == stamp.volume && index == stamp.index && (stamp.links == 1 || stamp.folder) &&
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
        record_from(json.required("record")), stamped_file_from(json.required("damaged")).value(), {}, {}};
    const auto raw = stamped_file_from(json.member("raw"));
    const auto jpeg = stamped_file_from(json.member("jpeg"));
    const auto mask = stamped_file_from(json.member("mask"));
    const auto sidecar = stamped_file_from(json.member("sidecar"));
    if (!is_final(entry.record) || !is_same(entry.record.raw, raw) || !is_same(entry.record.jpeg, jpeg) ||
        !is_same(entry.record.mask, mask) || !is_same(entry.record.sidecar, sidecar)) {
        return std::nullopt;
    }
    entry.record.raw = raw;
    entry.record.jpeg = jpeg;
    entry.record.mask = mask;
    entry.record.sidecar = sidecar;
    return entry;
}

RunRecord::RunRecord(const fs::path& out, const std::string& task, Access access)
    : folder_(out / kRuns / task) {
    refuse_link(out / kRuns);
    refuse_link(folder_);
    if (access == Access::kWrite) {
        occupy(out);
    }
    load_all(out / kRuns);
    if (access == Access::kRead) {
        return;
    }
    try {
        lines_.emplace(open_lines());
    } catch (const std::system_error& e) {
        throw MachineFailure(utf8_from(folder_ / kLines) + ": the run's record cannot be written", e.code());
    }
}

void RunRecord::occupy(const fs::path& out) {
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
}

void RunRecord::load_all(const fs::path& runs) {
    std::error_code none;
    for (fs::directory_iterator run(runs, none); !none && run != fs::directory_iterator();
         run.increment(none)) {
        load(run->path());
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
                if (const std::string name = json.text("sample_picture"); is_picture_name(name)) {
                    entry->sample_picture = folder / kPictures / name;
                }
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
               is_as_recorded(entry->record.mask) && is_still_there(entry->record.sidecar) &&
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
    if (!(*entry)->sample_picture.empty()) {
        record.sample_picture = read_small_file((*entry)->sample_picture);
    }
    return record;
}

bool RunRecord::is_own_result(const fs::path& input, const fs::path& output) const {
    const auto found = finished_.find(platform::name_key(input));
    const std::string key = platform::name_key(output);
    return found != finished_.end() &&
           std::any_of(found->second.begin(), found->second.end(), [&](const auto& entry) {
               return is_result_there(entry->record.raw, key) || is_result_there(entry->record.jpeg, key) ||
                      is_result_there(entry->record.mask, key) || is_result_there(entry->record.sidecar, key);
           });
}

void RunRecord::add_before_delivery(const Record& record) {
    add_line(record, true);
}

void RunRecord::add(const Record& record) {
    add_line(record, false);
}

void RunRecord::keep_sample_picture(const std::string& name, const std::string& bytes) {
    // Many files have the same one, and Windows refuses two threads that replace a file at the same time.
    const std::lock_guard lock(sample_pictures_mutex_);
    if (!sample_pictures_.contains(name)) {
        write_picture(folder_ / kPictures / name, bytes);
        sample_pictures_.insert(name);
    }
}

void RunRecord::add_line(const Record& record, bool at_once) {
    if (!is_final(record)) {
        return;
    }
    try {
        const std::string key = platform::name_key(path_from(record.damaged.path));
        if (!record.picture.empty()) {
            write_picture(folder_ / kPictures / picture_name(key), record.picture);
        }
        std::string sample_picture;
        if (!record.sample_picture.empty()) {
            sample_picture = picture_name(record.sample_picture);
            keep_sample_picture(sample_picture, record.sample_picture);
        }
        append(Json::object({{"schema", kRunSchema},
                             {"key", escaped_name(key)},
                             {"damaged", stamped_to_json(record.damaged)},
                             {"raw", stamped_to_json(record.raw)},
                             {"jpeg", stamped_to_json(record.jpeg)},
                             {"mask", stamped_to_json(record.mask)},
                             {"sample_picture", sample_picture},
                             {"sidecar", stamped_to_json(record.sidecar)},
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
