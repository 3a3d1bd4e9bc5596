#include "FileRepair.h"

#include "Formats.h"
#include "SafeOutput.h"
#include "Sha256.h"

#include <plate_mend/plate_mend.h>
#include <still_mend/still_mend.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <iterator>
#include <optional>
#include <system_error>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// Below this share of rows a result is no photograph, whatever decodes.
constexpr double kFewestRows = 0.01;

Verdict verdict_of(const Judgement& judgement) {
    if (!judgement.decodes || judgement.rows_good.value_or(1) < kFewestRows) {
        return Verdict::kNotRepaired;
    }
    return judgement.findings.empty() ? Verdict::kWhole : Verdict::kPartial;
}

/// Higher is better. Of partial results the one with more rows; where that is not known, with fewer signs of
/// damage.
double worth(const Judgement& judgement) {
    switch (verdict_of(judgement)) {
    case Verdict::kWhole:
        return 2;
    case Verdict::kPartial:
        return judgement.rows_good.value_or(0.5) - 0.001 * static_cast<double>(judgement.findings.size());
    default:
        return -1;
    }
}

bool may_be_written(const fs::path& file) {
    return std::fstream(file, std::ios::in | std::ios::out | std::ios::binary).is_open();
}

std::string bytes_of(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), {}};
}

FileIdentity identity(const fs::path& file, const RepairSettings& settings) {
    return {utf8_from(file), fs::file_size(file), settings.hashes ? sha256_of(file) : ""};
}

/// The story of one damaged file.
class FileRepair {
  public:
    FileRepair(const Input& input, const Samples& samples, const Workers& workers,
               const RepairSettings& settings)
        : input_(input), samples_(samples), workers_(workers), settings_(settings),
          outputs_(outputs_of(input, settings)) {}

    Record run() {
        const auto start = std::chrono::steady_clock::now();
        record_.damaged = {utf8_from(input_.path), 0, ""};
        try {
            repair();
        } catch (const Interrupted&) {
            throw;
        } catch (const std::exception& e) {
            record_.problem = e.what();
        }
        record_.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return std::move(record_);
    }

  private:
    void repair() {
        if (const auto refusal = refuse()) {
            record_.problem = *refusal;
            return;
        }
        record_.damaged = identity(input_.path, settings_);
        fs::create_directories(fs::absolute(outputs_.raw).parent_path());
        folder_.emplace(outputs_.raw);
        damaged_ = may_be_written(input_.path) ? input_.path : copied(input_.path, "damaged");
        if (!format_of(input_.path)) {
            record_.problem = "no format is known for this extension";
        } else {
            try_samples();
        }
        if (record_.verdict != Verdict::kWhole && settings_.fallback) {
            salvage();
        }
        deliver_all();
    }

    [[nodiscard]] std::optional<std::string> refuse() const {
        for (const fs::path& output : {outputs_.raw, outputs_.jpeg}) {
            if (auto refusal = refuse_output(output, {input_.path}, settings_.force)) {
                return refusal;
            }
        }
        return std::nullopt;
    }

    /// A copy that may be written to. The format is told by the extension, so that stays.
    fs::path copied(const fs::path& file, const std::string& name) {
        fs::path copy = folder_->path() / name;
        copy += file.extension();
        fs::copy_file(file, copy, fs::copy_options::overwrite_existing);
        fs::permissions(copy, fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::add);
        return copy;
    }

    void try_samples() {
        const auto candidates = samples_.ranked_for(input_.path);
        if (candidates.empty()) {
            record_.problem = "no sample of this format";
        }
        std::size_t left = settings_.most_samples;
        for (const Candidate& candidate : candidates) {
            if (left-- == 0 || record_.verdict == Verdict::kWhole) {
                break;
            }
            try_sample(candidate);
        }
    }

    void try_sample(const Candidate& candidate) {
        // The decoder goes by content, but a name of its own kind does no harm.
        fs::path made = folder_->path() / "made";
        made += input_.path.extension();
        const fs::path picture = settings_.pictures ? folder_->path() / "made.jpg" : fs::path();
        if (const auto refusal = refuse_output(outputs_.raw, {candidate.path}, settings_.force)) {
            record_.attempts.push_back({utf8_from(candidate.path), candidate.why, {}, *refusal, {}, false});
            return;
        }
        const fs::path sample =
            format_of(input_.path) == RawFormat::kCr3 ? copied(candidate.path, "sample") : candidate.path;
        Attempt attempt = workers_.repair(folder_->path(), {damaged_, sample, made});
        attempt.sample = utf8_from(candidate.path);
        attempt.why = candidate.why;
        if (attempt.code == PLATE_MEND_OK) {
            attempt.judgement = judged({made, damaged_, candidate.path, picture});
            if (worth(attempt.judgement) > best_) {
                keep(attempt, made, picture);
            }
        }
        record_.attempts.push_back(std::move(attempt));
    }

    /// What a decoder refuses because it is cut gets zeros for what is lost, and is judged once more.
    [[nodiscard]] Judgement judged(JudgeRequest request) const {
        Judgement judgement = workers_.judge(folder_->path(), request);
        if (!judgement.decodes) {
            request.filled = workers_.fill(folder_->path(), request.result, request.sample);
            if (request.filled != 0) {
                request.lost_in_preview = workers_.is_lost_in_preview(folder_->path(), request.damaged);
                judgement = workers_.judge(folder_->path(), request);
            }
        }
        return judgement;
    }

    void keep(Attempt& attempt, const fs::path& made, const fs::path& picture) {
        best_ = worth(attempt.judgement);
        for (Attempt& other : record_.attempts) {
            other.taken = false;
        }
        attempt.taken = true;
        record_.verdict = verdict_of(attempt.judgement);
        fs::rename(made, best_file());
        record_.picture = picture.empty() ? "" : bytes_of(picture);
    }

    [[nodiscard]] fs::path best_file() const { return folder_->path() / "best"; }
    [[nodiscard]] fs::path jpeg_file() const { return folder_->path() / "salvaged.jpg"; }

    void salvage() {
        const fs::path picture = settings_.pictures ? folder_->path() / "salvaged-small.jpg" : fs::path();
        record_.salvage = workers_.salvage(folder_->path(), {damaged_, jpeg_file(), picture});
        if (!fs::exists(jpeg_file())) {
            return;
        }
        if (record_.verdict == Verdict::kNotRepaired) {
            record_.verdict = Verdict::kPreviewOnly;
            record_.picture = picture.empty() ? "" : bytes_of(picture);
        }
    }

    void deliver_all() {
        record_.raw = delivered(best_file(), outputs_.raw);
        record_.jpeg = delivered(jpeg_file(), outputs_.jpeg);
    }

    [[nodiscard]] std::optional<FileIdentity> delivered(const fs::path& made, const fs::path& output) const {
        if (!fs::exists(made)) {
            return std::nullopt;
        }
        const auto size = fs::file_size(made);
        deliver(made, output, settings_.force);
        FileIdentity result = identity(output, settings_);
        if (result.size != size) {
            throw std::runtime_error(result.path + ": has another size than what was made");
        }
        return result;
    }

    const Input& input_;
    const Samples& samples_;
    const Workers& workers_;
    const RepairSettings& settings_;
    Outputs outputs_;
    std::optional<PrivateFolder> folder_;
    fs::path damaged_; ///< The input, or its copy that may be written to.
    double best_ = 0;  ///< Worth of the best result so far. What is worth less is no photograph.
    Record record_;
};

fs::path renamed(const fs::path& name, const std::string& middle, const fs::path& extension) {
    fs::path made = name.stem();
    made += middle;
    made += extension;
    return name.parent_path() / made;
}

} // namespace

Outputs outputs_of(const Input& input, const RepairSettings& settings) {
    if (!settings.output.empty()) {
        fs::path jpeg = settings.output;
        return {settings.output, jpeg.replace_extension(".jpg")};
    }
    if (!settings.out.empty()) {
        // In a folder of their own results have the names of their files.
        fs::path jpeg = settings.out / input.below;
        return {settings.out / input.below, jpeg.replace_extension(".jpg")};
    }
    return {renamed(input.path, ".repaired", input.path.extension()),
            renamed(input.path, ".salvaged", ".jpg")};
}

Record repair_file(const Input& input, const Samples& samples, const Workers& workers,
                   const RepairSettings& settings) {
    return FileRepair(input, samples, workers, settings).run();
}

std::optional<Record> judged_anew(const Input& input, const Workers& workers,
                                  const RepairSettings& settings) {
    const Outputs outputs = outputs_of(input, settings);
    const bool has_raw = fs::is_regular_file(outputs.raw);
    if (!has_raw && !fs::is_regular_file(outputs.jpeg)) {
        return std::nullopt;
    }
    Record record;
    try {
        record.damaged = identity(input.path, settings);
        const PrivateFolder folder(outputs.raw);
        Attempt attempt;
        if (has_raw) {
            attempt.why = "made by a former run";
            attempt.judgement = workers.judge(folder.path(), {outputs.raw, {}, {}, {}});
            attempt.taken = true;
            record.verdict = verdict_of(attempt.judgement);
            record.raw = identity(outputs.raw, settings);
            record.attempts.push_back(std::move(attempt));
        }
        if (fs::is_regular_file(outputs.jpeg)) {
            record.verdict = has_raw ? record.verdict : Verdict::kPreviewOnly;
            record.jpeg = identity(outputs.jpeg, settings);
        }
    } catch (const Interrupted&) {
        throw;
    } catch (const std::exception& e) {
        record.problem = e.what();
    }
    return record;
}

} // namespace plate_mend::host
