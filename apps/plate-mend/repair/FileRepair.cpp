#include "repair/FileRepair.h"

#include "files/Failures.h"
#include "files/Formats.h"
#include "files/InputFile.h"
#include "files/SafeOutput.h"
#include "repair/Delivery.h"
#include "repair/Engines.h"
#include "repair/Worth.h"
#include "report/Mask.h"
#include "text/Paths.h"

#include <raw_mend/raw_mend.h>
#include <still_mend/still_mend.h>

#include <algorithm>
#include <chrono>
#include <optional>
#include <system_error>
#include <utility>
#include <vector>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

/// Zeros at the end of a file that fill up its last cluster, at most.
constexpr std::uint64_t kLargestCluster = std::uint64_t{2} << 20U;

/// The cluster of most memory cards.
constexpr std::uint64_t kCluster = 32768;

/// The repair of one damaged file, step by step.
class FileRepair {
  public:
    FileRepair(const PlannedFile& file, const RepairTools& tools, const RepairSettings& settings,
               WorkFolder& work)
        : input_(file.input), outputs_(file.outputs), tools_(tools), settings_(settings),
          work_(work), rules_{tools.inputs, settings.force, tools.record, settings.resume},
          delivery_(file, rules_) {}

    Record run(bool& no_room) {
        const auto start = std::chrono::steady_clock::now();
        record_.damaged.path = utf8_from(input_.path);
        try {
            repair();
        } catch (const Interrupted&) {
            delivery_.take_back(record_);
            throw;
        } catch (const MachineFailure& e) {
            no_room = no_room || e.no_room();
            give_up(e.what());
        } catch (const std::system_error& e) {
            const MachineFailure failure("a file of the work cannot be used", e.code());
            no_room = no_room || failure.no_room();
            give_up(failure.what());
        } catch (const std::exception& e) {
            give_up(describe_error(e));
        }
        record_.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        return std::move(record_);
    }

  private:
    void repair() {
        refuse();
        prepare();
        if (is_intact()) {
            record_.verdict = Verdict::kIntact;
            return;
        }
        try_samples();
        replace_pictures();
        find_metadata();
        if (record_.verdict != Verdict::kWhole && settings_.fallback) {
            salvage();
        }
        if (record_.verdict == Verdict::kNotRepaired && input_.kind.empty()) {
            record_.verdict = Verdict::kNotDone; // Only photographs are lost.
            record_.problem = "nothing shows that this is, or was, a photograph";
        }
        make_mask();
        forget_areas_of_others();
        if (const Attempt* taken = record_.taken()) {
            record_.sample_picture = tools_.checks.picture_of(path_from(taken->sample));
        }
        delivery_.run({best_file(), jpeg_file(), mask_file(), sidecar_file()}, record_);
    }

    /// Nothing is known about the photograph, and no result is kept.
    void give_up(const std::string& problem) {
        delivery_.take_back(record_);
        record_.verdict = Verdict::kNotDone;
        record_.problem = problem;
        record_.picture.clear();
        record_.sample_picture.clear();
        for (Attempt& attempt : record_.attempts) {
            attempt.taken = false;
        }
    }

    void refuse() const {
        if (!input_.problem.empty()) {
            throw MachineFailure(input_.problem);
        }
        if (const auto refusal = delivery_.refuse_raw()) {
            throw MachineFailure(*refusal);
        }
    }

    void prepare() {
        if (!is_there(input_.path)) {
            throw MachineFailure("no such file");
        }
        make_folders(folder_of(outputs_.raw));
        if (!outputs_.mask.empty()) {
            make_folders(folder_of(outputs_.mask));
        }
        folder_ = work_.in(settings_.work.empty() ? folder_of(outputs_.raw) : settings_.work);
        damaged_ = {input_.path, folder_ / "damaged", format_of_extension(input_.kind)};
        if (damaged_.format) {
            damaged_.copy += "." + input_.kind; // The exact engine goes by the extension.
        }
        engines_.emplace(tools_.workers, damaged_, folder_,
                         TrialSettings{.pictures = settings_.pictures, .fill = settings_.fill});
        const CopiedFile copied = copy_readable(input_.path, damaged_.copy);
        damaged_.unreadable = !copied.unreadable.empty();
        record_.damaged.size = copied.size;
        record_.damaged.sha256 = copied.sha256;
        record_.damaged.modified = copied.modified;
        record_.damaged.changed = copied.changed;
        record_.unreadable = copied.unreadable;
        leave_out_zeros(copied);
    }

    /// A photograph is no longer than its camera's others, except for differences in compression. Long zeros
    /// after that are not part of it, and must not fill up results. Zeros up to the end of a cluster stay: a
    /// photograph may end in zeros of its own.
    void leave_out_zeros(const CopiedFile& copied) {
        const std::uint64_t shortest = std::max(copied.end_of_data, tools_.samples.longest_for(input_.kind));
        const std::uint64_t longest = (shortest / kCluster + 1) * kCluster;
        const bool too_long = copied.size > longest && copied.size - longest > kLargestCluster;
        record_.zeros_left_out = too_long ? copied.size - longest : 0;
        fs::resize_file(damaged_.copy, copied.size - record_.zeros_left_out);
    }

    bool is_intact() {
        if (damaged_.unreadable) {
            return false;
        }
        const fs::path picture = picture_file("intact.jpg");
        if (!tools_.workers.is_intact(folder_, damaged_.copy, picture) || !agrees_with_a_sample()) {
            return false;
        }
        record_.picture = picture.empty() ? "" : read_small_file(picture);
        return true;
    }

    /// An image that is displaced as a whole, or whose clusters changed places, decodes without a sign of
    /// damage. Compared with a sample, its length shows it, or the raw engine.
    bool agrees_with_a_sample() {
        std::string trouble;
        for (const RankedSample& ranked : ranked_samples()) {
            try {
                const fs::path name = reachable_name(ranked.path, folder_, "candidate");
                if (check(ranked, name).fitness == SampleChecks::Fitness::kWhole) {
                    return tools_.workers.judge(folder_, {damaged_.copy, {}, name, {}}).findings.empty() &&
                           !engines().finds_damage(damaged_.copy, name);
                }
            } catch (const MachineFailure& e) {
                if (e.no_room()) {
                    throw;
                }
                trouble = e.what();
            }
        }
        if (!trouble.empty()) {
            throw MachineFailure(trouble); // That sample might have shown it.
        }
        return true;
    }

    /// The samples of this format, the likeliest first. The working copy is read once for them.
    const std::vector<RankedSample>& ranked_samples() {
        if (!ranked_samples_) {
            ranked_samples_ = tools_.samples.ranked_for(input_.path, input_.kind, damaged_.copy);
        }
        return *ranked_samples_;
    }

    SampleChecks::Result check(const RankedSample& sample, const fs::path& name) {
        return tools_.checks.check(sample.path, name, folder_, tools_.workers);
    }

    [[nodiscard]] fs::path picture_file(const char* name) const {
        return settings_.pictures ? folder_ / name : fs::path();
    }

    /// Samples without a sign of damage first, in their order, then those that decode.
    void try_samples() {
        if (ranked_samples().empty()) {
            record_.problem = "no sample but the file itself";
        }
        std::size_t left = settings_.most_samples;
        std::string trouble;
        std::vector<const RankedSample*> doubtful;
        const auto goes_on = [&] { return left != 0 && record_.verdict != Verdict::kWhole; };
        const auto attempt = [&](const RankedSample& ranked, bool may_be_doubtful) {
            try {
                if (const auto fitness = fitness_of(ranked);
                    fitness == SampleChecks::Fitness::kWhole || may_be_doubtful) {
                    --left;
                    try_sample(ranked);
                } else if (fitness == SampleChecks::Fitness::kDoubtful) {
                    doubtful.push_back(&ranked);
                }
            } catch (const MachineFailure& e) {
                if (e.no_room()) {
                    throw;
                }
                trouble = e.what();
            }
        };
        for (auto ranked = ranked_samples().begin(); ranked != ranked_samples().end() && goes_on();
             ++ranked) {
            attempt(*ranked, false);
        }
        for (auto ranked = doubtful.begin(); ranked != doubtful.end() && goes_on(); ++ranked) {
            attempt(**ranked, true);
        }
        if (!trouble.empty() && record_.verdict != Verdict::kWhole) {
            throw MachineFailure(trouble); // With that sample it might have become whole.
        }
    }

    /// Whether a sample may be tried. One that does not decode is set aside, which the record says.
    SampleChecks::Fitness fitness_of(const RankedSample& ranked) {
        require_readable(ranked.path);
        const fs::path name = reachable_name(ranked.path, folder_, "candidate");
        const auto result = check(ranked, name);
        if (result.fitness == SampleChecks::Fitness::kUnfit) {
            Attempt attempt;
            attempt.sample = utf8_from(ranked.path);
            attempt.why = ranked.why;
            attempt.problem = "the sample itself does not decode (" + result.reason + ")";
            record_.attempts.push_back(std::move(attempt));
        }
        return result.fitness;
    }

    /// Each engine in turn, until a result is whole.
    void try_sample(const RankedSample& ranked) {
        for (const Engine engine : engines_for(damaged_.format, ranked.path)) {
            if (record_.verdict != Verdict::kWhole) {
                add_trial(engines().try_sample(engine, ranked), ranked);
            }
        }
    }

    [[nodiscard]] const Engines& engines() const { return *engines_; }

    void add_trial(Trial trial, const RankedSample& ranked) {
        Attempt& attempt = trial.attempt;
        const bool whole = attempt.code == 0 && verdict_of(attempt.judgement) == Verdict::kWhole;
        if (!whole && !attempt.room_problem.empty()) {
            throw MachineFailure(attempt.room_problem, attempt.no_room);
        }
        if (!whole) {
            require_all_readable(ranked.path);
        }
        if (attempt.code == 0 && is_better(attempt, record_.taken())) {
            keep(trial);
        }
        record_.attempts.push_back(std::move(attempt));
    }

    void keep(Trial& trial) {
        for (Attempt& other : record_.attempts) {
            other.taken = false;
        }
        trial.attempt.taken = true;
        record_.verdict = verdict_of(trial.attempt.judgement);
        fs::rename(trial.result, best_file());
        record_.picture = trial.picture.empty() ? "" : read_small_file(trial.picture);
    }

    /// Previews that are the sample's show another photograph. Where others cannot be put in their place,
    /// they stay, and the record says whose they are.
    void replace_pictures() {
        Attempt* taken = record_.taken();
        if (taken == nullptr || !taken->image || (taken->image->notes & RAW_MEND_SAMPLE_PICTURES) == 0) {
            return;
        }
        const fs::path copy = folder_ / "with-own-pictures";
        try {
            const fs::path sample = reachable_name(path_from(taken->sample), folder_, "sample");
            const ReplacedPictures pictures =
                tools_.workers.replace_pictures(folder_, best_file(), sample, copy);
            if (pictures.replaced != 0) {
                fs::rename(copy, best_file());
                taken->pictures_rendered = pictures.replaced;
                taken->image->notes &= pictures.replaced == pictures.pictures
                                           ? ~std::uint32_t{RAW_MEND_SAMPLE_PICTURES}
                                           : ~std::uint32_t{0};
            }
        } catch (const MachineFailure&) { // The result itself is good.
            fs::remove(copy);
        }
    }

    /// The photograph is worth delivering without them, too.
    void find_metadata() {
        const Attempt* taken = record_.taken();
        if (taken == nullptr) {
            return;
        }
        auto [metadata, problem] = tools_.workers.find_metadata(
            folder_, {.damaged = damaged_.copy,
                      .result = best_file(),
                      .taken = *taken,
                      .sidecar = outputs_.sidecar.empty() ? fs::path() : sidecar_file()});
        record_.metadata = std::move(metadata);
        if (!problem.empty()) {
            add_problem("the photograph's own date and settings were not looked for: the search " + problem);
        }
    }

    void add_problem(const std::string& problem) {
        record_.problem += (record_.problem.empty() ? "" : "; ") + problem;
    }

    void make_mask() {
        const Attempt* taken = record_.taken();
        if (taken != nullptr && taken->image && !outputs_.mask.empty() &&
            !write_mask(*taken->image, mask_file())) {
            add_problem("there is no mask: the raw image's size is not known");
        }
    }

    void forget_areas_of_others() {
        for (Attempt& attempt : record_.attempts) {
            if (!attempt.taken && attempt.image) {
                attempt.image->lost.clear();
                attempt.image->doubtful.clear();
            }
        }
    }

    [[nodiscard]] fs::path mask_file() const { return folder_ / "mask.png"; }
    [[nodiscard]] fs::path sidecar_file() const { return folder_ / "sidecar.xmp"; }
    [[nodiscard]] fs::path best_file() const { return folder_ / "best"; }
    [[nodiscard]] fs::path jpeg_file() const { return folder_ / "salvaged.jpg"; }

    void salvage() {
        const fs::path picture = picture_file("salvaged-small.jpg");
        fs::path sample;
        if (!ranked_samples().empty()) {
            sample = reachable_name(ranked_samples().front().path, folder_, "lender");
        }
        Workers::SalvageTask task{damaged_.copy, jpeg_file(), picture, sample};
        record_.salvage = tools_.workers.salvage(folder_, task);
        if (record_.salvage.code == STILL_MEND_SAMPLE_UNUSABLE) { // No JPEG is in it.
            task.sample.clear();
            record_.salvage = tools_.workers.salvage(folder_, task);
        }
        if (!fs::exists(jpeg_file())) {
            return;
        }
        if (record_.verdict == Verdict::kNotRepaired) {
            record_.verdict = Verdict::kPreviewOnly;
            record_.picture = picture.empty() ? "" : read_small_file(picture);
        }
    }

    const Input& input_;
    const Outputs& outputs_;
    const RepairTools& tools_;
    const RepairSettings& settings_;
    WorkFolder& work_;
    const DeliveryRules rules_;
    Delivery delivery_;
    fs::path folder_; ///< For work on this file.
    DamagedFile damaged_;
    std::optional<Engines> engines_;
    std::optional<std::vector<RankedSample>> ranked_samples_;
    Record record_;
};

} // namespace

Record repair_file(const PlannedFile& file, const RepairTools& tools, const RepairSettings& settings,
                   WorkFolder& work, bool& no_room) {
    Record record = FileRepair(file, tools, settings, work).run(no_room);
    work.clear();
    return record;
}

} // namespace plate_mend::host
