#include "repair/Delivery.h"

#include "files/Failures.h"
#include "files/InputFile.h"
#include "files/SafeOutput.h"
#include "files/Sha256.h"
#include "platform/Files.h"
#include "record/RunRecord.h"
#include "text/Paths.h"

#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

std::optional<FileIdentity> identity_of(const fs::path& file, const fs::path& output) {
    if (!fs::exists(file)) {
        return std::nullopt;
    }
    return FileIdentity{utf8_from(output), fs::file_size(file), sha256_of(file)};
}

bool is_surely_there(const fs::path& file) {
    try {
        return is_there(file);
    } catch (const MachineFailure&) {
        return false;
    }
}

/// A photograph is not given up for its sidecar.
void note_missing_sidecar(Record& record, const std::string& reason) {
    record.problem += (record.problem.empty() ? "" : "; ") + ("there is no sidecar: " + reason);
}

/// Programs show photographs in the order of their files' times too. A file system without such times does no
/// harm.
void set_time(const fs::path& file, std::int64_t modified) {
    if (modified == 0 || !fs::exists(file)) {
        return;
    }
    try {
        platform::set_modified(file, modified);
    } catch (const std::system_error&) {
        return;
    }
}

/// Adds the times of a delivered file, if it is certainly the one that was made.
void add_times(FileIdentity& identity, const platform::FileStamp& made, const fs::path& output) {
    const auto stamp = platform::stamp_of(output);
    if (!stamp || stamp->size != identity.size) {
        throw MachineFailure(identity.path + ": has a different size than the result");
    }
    if (stamp->volume == made.volume && stamp->index == made.index && stamp->modified == made.modified) {
        identity.modified = stamp->modified;
        identity.changed = stamp->changed;
    }
}

} // namespace

std::optional<std::string> Delivery::refuse(const fs::path& output) const {
    auto refusal = refuse_output(output, rules_.inputs, rules_.force);
    const bool allowed = refusal && rules_.resume && rules_.record != nullptr &&
                         !refuse_output(output, rules_.inputs, true) &&
                         rules_.record->is_own_result(file_.input.path, output);
    return allowed ? std::nullopt : refusal;
}

std::optional<std::string> Delivery::refuse_raw() const {
    auto refusal = refuse(file_.outputs.raw);
    return refusal || file_.outputs.mask.empty() ? refusal : refuse(file_.outputs.mask);
}

const fs::path& Delivery::choose_jpeg() const {
    const Outputs& outputs = file_.outputs;
    if (!refuse(outputs.jpeg)) {
        return outputs.jpeg;
    }
    if (const auto refusal = refuse(outputs.other_jpeg)) {
        throw MachineFailure(*refusal);
    }
    return outputs.other_jpeg;
}

std::optional<FileIdentity> Delivery::sidecar_of(const FinishedFiles& files, Record& record) const {
    if (!fs::exists(files.raw) || !fs::exists(files.sidecar)) {
        return std::nullopt;
    }
    if (const auto refusal = refuse(file_.outputs.sidecar)) {
        note_missing_sidecar(record, *refusal);
        return std::nullopt;
    }
    return identity_of(files.sidecar, file_.outputs.sidecar);
}

void Delivery::run(const FinishedFiles& files, Record& record) {
    // All that may be interrupted comes before anything is delivered.
    for (const fs::path& file : {files.raw, files.jpeg, files.mask}) {
        set_time(file, record.damaged.modified);
    }
    const auto sidecar = sidecar_of(files, record);
    Record finished = record;
    finished.sidecar = sidecar;
    finished.raw = identity_of(files.raw, file_.outputs.raw);
    finished.jpeg = fs::exists(files.jpeg) ? identity_of(files.jpeg, choose_jpeg()) : std::nullopt;
    finished.mask = identity_of(files.mask, file_.outputs.mask);
    if (rules_.record != nullptr) {
        rules_.record->add_before_delivery(finished);
    }
    if (finished.jpeg) {
        deliver_one(files.jpeg, *finished.jpeg, record.jpeg);
    }
    if (finished.mask) {
        deliver_one(files.mask, *finished.mask, record.mask);
    }
    if (finished.sidecar) {
        deliver_sidecar(files.sidecar, *finished.sidecar, record);
    }
    if (finished.raw) {
        deliver_one(files.raw, *finished.raw, record.raw);
    }
}

/// Another program may have put one there meanwhile.
void Delivery::deliver_sidecar(const fs::path& file, const FileIdentity& identity, Record& record) {
    try {
        deliver_one(file, identity, record.sidecar);
    } catch (const MachineFailure& e) {
        if (e.no_room()) {
            throw;
        }
        record.sidecar.reset();
        note_missing_sidecar(record, e.what());
    }
}

void Delivery::deliver_one(const fs::path& file, const FileIdentity& identity,
                           std::optional<FileIdentity>& result) {
    const fs::path output = path_from(identity.path);
    const bool is_delivered = is_delivered_already(identity);
    const auto stamp = platform::stamp_of(is_delivered ? output : file).value_or(platform::FileStamp{});
    if (!is_delivered) {
        deliver(file, output, rules_.inputs, rules_.force);
        delivered_.push_back(output);
    }
    result = identity;
    add_times(*result, stamp, output);
}

bool Delivery::is_delivered_already(const FileIdentity& identity) const {
    const fs::path output = path_from(identity.path);
    return rules_.resume && rules_.record != nullptr && !rules_.force && platform::is_taken(output) &&
           rules_.record->is_own_result(file_.input.path, output) && sha256_of(output) == identity.sha256;
}

void Delivery::take_back(Record& record) {
    if (rules_.force || !is_surely_there(file_.input.path)) {
        return;
    }
    std::error_code ignored;
    for (const fs::path& file : delivered_) {
        fs::remove(file, ignored);
    }
    record.raw.reset();
    record.jpeg.reset();
    record.mask.reset();
    record.sidecar.reset();
}

} // namespace plate_mend::host
