#include "repair/Engines.h"

#include "files/SafeOutput.h"
#include "files/WorkingCopy.h"
#include "repair/Worth.h"
#include "text/Paths.h"

#include <raw_mend/raw_mend.h>

#include <cstdint>
#include <utility>

namespace plate_mend::host {

namespace fs = std::filesystem;

namespace {

/// Whether the file's own tables lead to its image, and not from the file's first byte on.
bool is_displaced(const FoundImage& image) {
    return image.way == RAW_MEND_WAY_OWN_TABLES && (image.notes & RAW_MEND_UNCHANGED) == 0;
}

/// All of the image is proved, and its place is no guess.
bool is_certain(const FoundImage& image) {
    return image.pieces != 0 && image.pieces_proved == image.pieces &&
           (image.notes & (RAW_MEND_PLACES_GUESSED | RAW_MEND_PIECES_LOST)) == 0;
}

/// Only coded data are found like this.
bool is_found_by_its_code(const FoundImage& image) {
    return image.way == RAW_MEND_WAY_CODED_HEADS || image.way == RAW_MEND_WAY_TRIAL_DECODING;
}

} // namespace

std::vector<Engine> engines_for(const std::optional<RawFormat>& damaged, const fs::path& sample) {
    const bool known = damaged && damaged == format_of(sample);
    return known ? std::vector{Engine::kExact, Engine::kRaw} : std::vector{Engine::kRaw};
}

Trial Engines::try_sample(Engine engine, const RankedSample& ranked) const {
    const bool exact = engine == Engine::kExact;
    const fs::path sample = name_for_engine(engine, ranked);
    Trial trial;
    // The decoder goes by content, but the extension does no harm.
    trial.result = folder_ / (exact ? "made" : "raw-made");
    trial.result += damaged_.copy.extension();
    trial.picture = settings_.pictures ? folder_ / "made.jpg" : fs::path();
    fs::remove(trial.result);
    fs::remove(trial.picture);
    const Workers::RepairTask task{damaged_.copy, sample, trial.result,
                                   utf8_from(damaged_.path) + ", sample " + utf8_from(ranked.path),
                                   settings_.fill};
    trial.attempt = exact ? workers_.repair(folder_, task) : workers_.repair_raw(folder_, task);
    trial.attempt.sample = utf8_from(ranked.path);
    trial.attempt.why = ranked.why;
    if (trial.attempt.code == 0) {
        trial.attempt.judgement = judge({.result = trial.result,
                                         .damaged = damaged_.copy,
                                         .sample = sample,
                                         .picture = trial.picture,
                                         .image = trial.attempt.image});
        if (exact) {
            check_whole(trial, sample);
        }
    }
    return trial;
}

bool Engines::finds_damage(const fs::path& name, const fs::path& sample) const {
    const auto image = find_image(name, sample);
    return image && (image->pieces_mended != 0 || image->is_incomplete() || is_displaced(*image) ||
                     proves_too_little(*image, name, sample));
}

std::optional<FoundImage> Engines::find_image(const fs::path& name, const fs::path& sample) const {
    const Attempt attempt =
        workers_.repair_raw(folder_, {name, sample, {}, "check of " + utf8_from(damaged_.path)});
    return attempt.code == 0 ? attempt.image : std::nullopt;
}

/// Coded data of an intact photograph prove as much as the sample's own do, unless the camera coded them in
/// another way: then the sample is not of the photograph's kind either.
bool Engines::proves_too_little(const FoundImage& image, const fs::path& name, const fs::path& sample) const {
    if (!is_found_by_its_code(image)) {
        return false;
    }
    const auto best = find_image(sample, sample);
    if (!best || !is_certain(*best) || (is_certain(image) && image.way == best->way)) {
        return false;
    }
    const auto kin = find_image(sample, name);
    return kin && (kin->way == RAW_MEND_WAY_OWN_TABLES || is_certain(*kin));
}

/// The exact engine writes to a CR3 sample's mapping, and others may use the sample at the same time.
fs::path Engines::name_for_engine(Engine engine, const RankedSample& ranked) const {
    if (engine != Engine::kExact || damaged_.format != RawFormat::kCr3) {
        return reachable_name(ranked.path, folder_, "sample");
    }
    fs::path copy = folder_ / "sample-copy";
    copy += ranked.path.extension();
    fs::copy_file(ranked.path, copy, fs::copy_options::overwrite_existing);
    fs::permissions(copy, fs::perms::owner_read | fs::perms::owner_write, fs::perm_options::add);
    return copy;
}

/// Results are compared with the damaged file; if the raw engine has undone text mode, with one for which
/// that is undone too.
void Engines::undo_text_mode(JudgeRequest& request) const {
    if (!request.image || (request.image->notes & RAW_MEND_TEXT_MODE_UNDONE) == 0) {
        return;
    }
    request.damaged = folder_ / "damaged-in-binary-mode";
    request.damaged += damaged_.copy.extension();
    fs::remove(request.damaged);
    request.image->offset = copy_without_text_mode(damaged_.copy, request.damaged, request.image->offset);
}

/// The exact engine takes the image as it is, and the judge sees only what looks like no photograph.
void Engines::check_whole(Trial& trial, const fs::path& sample) const {
    Judgement& judgement = trial.attempt.judgement;
    if (verdict_of(judgement) == Verdict::kWhole && finds_damage(trial.result, sample)) {
        judgement.findings.emplace_back("the raw engine finds damage inside the image");
        judgement.rows_good.reset();
    }
}

/// A result that a decoder refuses because it is truncated gets zeros for what is lost, and is judged again.
/// Zeros in place of what could not be read may look like anything, so they are a finding.
Judgement Engines::judge(JudgeRequest request) const {
    undo_text_mode(request);
    Judgement judgement = workers_.judge(folder_, request);
    if (!judgement.decodes) {
        request.filled = workers_.fill(folder_, request.result, request.sample);
        if (request.filled != 0) {
            request.lost_in_preview = workers_.is_lost_in_preview(folder_, request.damaged);
            judgement = workers_.judge(folder_, request);
        }
    }
    if (judgement.decodes && damaged_.unreadable) {
        judgement.findings.emplace_back("parts of the damaged file cannot be read");
    }
    return judgement;
}

} // namespace plate_mend::host
