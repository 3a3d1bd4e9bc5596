#include "repair/Samples.h"

#include "files/Failures.h"
#include "files/Formats.h"
#include "platform/Files.h"
#include "repair/SampleRank.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

struct Scored {
    const SampleFacts* sample;
    SampleRank rank;
};

/// Leaves out samples of another kind that share neither camera nor picture size, unless there are no others.
void drop_strangers(std::vector<Scored>& scored) {
    const auto is_stranger = [](const Scored& one) {
        return !one.rank.same_kind && !one.rank.same_sizes && one.rank.camera != SampleRank::Camera::kSame;
    };
    if (std::any_of(scored.begin(), scored.end(), [](const Scored& one) { return one.rank.same_kind; })) {
        std::erase_if(scored, is_stranger);
    }
}

DamagedFacts facts_of_damaged(const fs::path& path, const std::string& kind, const fs::path& copy,
                              const KnownTexts& texts, const std::set<std::string>& models) {
    DamagedFacts damaged;
    damaged.path = path;
    damaged.kind = kind;
    damaged.remains = remains_of(copy, texts);
    const auto stamp = known_stamp(path);
    damaged.modified = stamp ? stamp->modified : 0;
    const auto copied = known_stamp(copy);
    damaged.size = copied ? copied->size : 0;
    damaged.cameras = damaged.remains.facts.models;
    if (!damaged.remains.names_its_camera) {
        std::set_intersection(models.begin(), models.end(), damaged.remains.texts.begin(),
                              damaged.remains.texts.end(),
                              std::inserter(damaged.cameras, damaged.cameras.end()));
    }
    return damaged;
}

} // namespace

Samples::Samples(const std::vector<fs::path>& files, SampleCache cache, const SampleListener& listener) {
    bool is_new = false;
    samples_.reserve(files.size());
    try {
        for (const fs::path& file : files) {
            check_interruption();
            listener(samples_.size(), files.size());
            SampleFacts sample = stamped_sample(file);
            if (!cache.complete(sample)) {
                read_sample(sample);
                is_new = true;
            }
            samples_.push_back(std::move(sample));
        }
    } catch (const Interrupted&) {
        if (is_new) {
            cache.save(samples_);
        }
        throw;
    }
    if (is_new) {
        cache.save(samples_);
    }
    listener(files.size(), files.size());
    learn_texts();
}

void Samples::learn_texts() {
    for (const SampleFacts& sample : samples_) {
        const PhotographFacts& facts = sample.photograph;
        models_.insert(facts.models.begin(), facts.models.end());
        for (const auto* texts : {&facts.makes, &facts.models, &facts.software}) {
            texts_.insert(texts->begin(), texts->end());
        }
    }
}

std::uint64_t Samples::longest_for(const std::string& kind) const {
    std::uint64_t of_kind = 0;
    std::uint64_t of_all = 0;
    for (const SampleFacts& sample : samples_) {
        of_all = std::max(of_all, sample.size);
        of_kind = std::max(of_kind, are_same_kind(kind, sample.kind) ? sample.size : 0);
    }
    return of_kind != 0 ? of_kind : of_all;
}

std::vector<const SampleFacts*> Samples::others_than(const fs::path& damaged) const {
    const auto stamp = known_stamp(damaged);
    std::vector<const SampleFacts*> others;
    for (const SampleFacts& sample : samples_) {
        if (!stamp || stamp->volume != sample.volume || stamp->index != sample.index) {
            others.push_back(&sample);
        }
    }
    return others;
}

std::vector<RankedSample> Samples::ranked_for(const fs::path& damaged, const std::string& kind,
                                              const fs::path& copy) const {
    if (samples_.size() == 1) { // Nothing to choose from: the damaged file need not be read.
        const auto others = others_than(damaged);
        if (!others.empty()) {
            return {{others.front()->path, "the only one"}};
        }
    }
    return match(damaged, kind, copy).ranked;
}

SampleMatch Samples::match(const fs::path& damaged_path, const std::string& kind,
                           const fs::path& copy) const {
    DamagedFacts damaged = facts_of_damaged(damaged_path, kind, copy, texts_, models_);
    std::vector<Scored> scored;
    for (const SampleFacts* sample : others_than(damaged_path)) {
        scored.push_back({sample, rank_of(damaged, *sample)});
    }
    drop_strangers(scored);
    std::stable_sort(scored.begin(), scored.end(), [](const Scored& one, const Scored& other) {
        return one.rank.is_better_than(other.rank);
    });
    SampleMatch match;
    match.cameras = std::move(damaged.cameras);
    match.ranked.reserve(scored.size());
    for (Scored& one : scored) {
        match.ranked.push_back({one.sample->path, std::move(one.rank.why)});
    }
    return match;
}

} // namespace plate_mend::host
