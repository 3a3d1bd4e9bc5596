#include "PairLaboratory.h"

#include "Written.h"

#include <libraw/libraw.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace test {

namespace fs = std::filesystem;

namespace {

/// Make and model; empty if LibRaw does not open the file.
std::string camera_of(Bytes file) {
    const auto raw = std::make_unique<LibRaw>();
    return raw->open_buffer(file.data(), file.size()) == LIBRAW_SUCCESS
               ? std::string(raw->imgdata.idata.make) + ' ' + raw->imgdata.idata.model
               : std::string();
}

std::optional<RealPhotograph> read_photograph(const fs::path& folder, const fs::path& path) {
    RealPhotograph photograph{fs::relative(path, folder).generic_string(), {}, read_file(path), {}, {}};
    photograph.layout = read_raw_layout(photograph.bytes);
    if (photograph.layout.pieces.empty()) {
        return std::nullopt;
    }
    auto picture = decode_raw(photograph.bytes);
    if (!picture || picture->errors != 0) {
        return std::nullopt;
    }
    photograph.picture = std::move(*picture);
    photograph.camera = camera_of(photograph.bytes);
    return photograph;
}

std::string folder_of(const RealPhotograph& photograph) {
    return fs::path(photograph.name).parent_path().generic_string();
}

double share_of(const RawPicture& picture, const RawPicture& original) {
    if (picture.width != original.width || picture.samples.size() != original.samples.size()) {
        return 0;
    }
    std::size_t same = 0;
    for (std::size_t nth = 0; nth < picture.samples.size(); ++nth) {
        same += picture.samples[nth] == original.samples[nth] ? 1U : 0U;
    }
    return static_cast<double>(same) / static_cast<double>(picture.samples.size());
}

double promised_share(const raw_mend::FoundImage& image, const raw_mend::Frame& frame) {
    double left = static_cast<double>(frame.width) * frame.height;
    const double all = left;
    for (const auto* areas : {&image.lost, &image.doubtful}) {
        for (const raw_mend::Area& area : *areas) {
            left -= static_cast<double>(area.width) * area.height;
        }
    }
    return left / all;
}

const char* name_of(raw_mend::Way way) {
    switch (way) {
    case raw_mend::Way::kOwnTables:
        return "tables";
    case raw_mend::Way::kCodedHeads:
        return "heads";
    case raw_mend::Way::kRows:
        return "rows";
    case raw_mend::Way::kSamplePlaces:
        return "places";
    case raw_mend::Way::kTrialDecoding:
        return "trial";
    }
    return "other";
}

} // namespace

std::vector<RealPhotograph> real_photographs(const fs::path& folder) {
    std::vector<fs::path> paths;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file()) {
            paths.push_back(entry.path());
        }
    }
    std::ranges::sort(paths);
    std::vector<RealPhotograph> all;
    for (const fs::path& path : paths) {
        if (auto photograph = read_photograph(folder, path)) {
            all.push_back(std::move(*photograph));
        }
    }
    return all;
}

std::vector<RealPair> real_pairs(const std::vector<RealPhotograph>& photographs) {
    std::vector<RealPair> pairs;
    for (const RealPhotograph& damaged : photographs) {
        bool alone = true;
        for (const RealPhotograph& sample : photographs) {
            if (&sample != &damaged && folder_of(sample) == folder_of(damaged)) {
                pairs.push_back({&damaged, &sample});
                alone = alone && sample.camera != damaged.camera;
            }
        }
        if (alone) {
            pairs.push_back({&damaged, &damaged});
        }
    }
    return pairs;
}

DamagedPhotograph damage(const RealPair& pair, const RawDamage& kind, unsigned seed) {
    DamagedRaw damaged(pair.damaged->bytes);
    kind.apply(damaged, {pair.damaged->bytes, pair.damaged->layout, pair.sample->bytes, seed});
    return {damaged.bytes(), damaged.survival_of(pair.damaged->layout)};
}

bool applies(const RawDamage& kind, const RealPair& pair) {
    const RawLayout& layout = pair.damaged->layout;
    if (layout.image_end() - layout.image_begin() <= 2 * kind.cluster) {
        return false;
    }
    return !kind.needs_other || (pair.same_camera() && !pair.same_photograph());
}

PairTrial run_pair_trial(const RealPair& pair, const raw_mend::Sample& sample, const RawDamage& kind,
                         unsigned seed) {
    const DamagedPhotograph damaged = damage(pair, kind, seed);
    PairTrial trial;
    trial.survival = damaged.survival;
    const auto repaired = raw_mend::repair(damaged.bytes, sample);
    trial.repaired = repaired && repaired->file;
    if (!trial.repaired) {
        return trial;
    }
    trial.way = repaired->image.way;
    trial.coded = !sample.rows;
    trial.pieces = repaired->image.pieces.size();
    trial.found = repaired->image.count_found();
    trial.proved = repaired->image.proved;
    trial.doubtful = !repaired->image.doubts.empty();
    trial.promised = promised_share(repaired->image, sample.description.raw.frame);
    if (const auto picture = decode_raw(written(*repaired->file))) {
        trial.exact = *picture == pair.damaged->picture;
        trial.share = share_of(*picture, pair.damaged->picture);
    }
    return trial;
}

std::string cell_of(const PairTrial& trial) {
    std::string text = "-";
    if (trial.repaired) {
        text.resize(8);
        // Cut, not rounded: 1.000 would look like all of it.
        text.resize(static_cast<std::size_t>(std::snprintf(
            text.data(), text.size(), "0.%03u", static_cast<unsigned>(trial.share * 1000) % 1000)));
        text = (trial.exact ? "exact" : text) + ", " + name_of(trial.way) + ' ' +
               std::to_string(trial.pieces) + '/' + std::to_string(trial.found) + '/' +
               std::to_string(trial.proved);
    }
    text += trial.survival == Survival::kLost   ? " (lost)"
            : trial.survival == Survival::kTorn ? " (torn)"
                                                : "";
    if (trial.false_claim()) {
        text += trial.proved_by_place() ? " BY PLACE" : " FALSE";
    }
    return text;
}

std::string column_of(const RealPair& pair) {
    const fs::path sample(pair.sample->name);
    return pair.damaged->name + " with " + (pair.same_photograph() ? "itself" : sample.filename().string());
}

} // namespace test
