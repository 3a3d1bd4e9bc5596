#include "repair/Samples.h"

#include "files/Failures.h"
#include "files/Formats.h"
#include "text/Paths.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <optional>
#include <utility>

namespace plate_mend::host {

namespace {

namespace fs = std::filesystem;

struct Scored {
    double points = 0;
    bool same_kind = false;  ///< As the damaged file.
    bool same_sizes = false; ///< Of pictures.
    RankedSample sample;
};

void add_reason(std::string& why, const std::string& reason) {
    why += (why.empty() ? "" : ", ") + reason;
}

/// The last number in a name ("IMG_0042" gives 42); nothing when there is none.
std::optional<long> number_in(const std::string& name) {
    const auto last = name.find_last_of("0123456789");
    if (last == std::string::npos) {
        return std::nullopt;
    }
    const auto before = name.find_last_not_of("0123456789", last);
    const auto first = before == std::string::npos ? 0 : before + 1;
    constexpr std::size_t kDigits = 9;
    return std::strtol(name.substr(std::max(first, last + 1 - std::min(last + 1, kDigits)), last + 1).c_str(),
                       nullptr, 10);
}

std::string without_number(const std::string& name) {
    return name.substr(0, name.find_last_not_of("0123456789") + 1);
}

double points_of_sizes(const FileFacts& damaged, const FileFacts& sample, std::string& why) {
    if (damaged.sizes.empty() || sample.sizes.empty()) {
        return 0;
    }
    std::string shared;
    std::size_t count = 0;
    for (const auto& [width, height] : damaged.sizes) {
        if (sample.sizes.count({width, height}) != 0) {
            if (++count <= 3) {
                shared +=
                    (shared.empty() ? "" : ", ") + std::to_string(width) + " x " + std::to_string(height);
            }
        }
    }
    if (count == 0) {
        add_reason(why, "other picture sizes");
        return -6;
    }
    add_reason(why, "same picture sizes (" + shared + ")");
    return 8.0 * static_cast<double>(count) / static_cast<double>(damaged.sizes.size());
}

double points_of_order(const FileFacts& damaged, const FileFacts& sample, std::string& why) {
    if (damaged.little_endian == damaged.big_endian || sample.little_endian == sample.big_endian) {
        return 0;
    }
    const bool same =
        (damaged.little_endian > damaged.big_endian) == (sample.little_endian > sample.big_endian);
    add_reason(why, same ? "same byte order" : "other byte order");
    return same ? 4 : -8;
}

double points_of_length(const FileFacts& damaged, const FileFacts& sample, std::string& why) {
    if (damaged.size == 0 || sample.size == 0) {
        return 0;
    }
    const double off = std::abs(static_cast<double>(sample.size) / static_cast<double>(damaged.size) - 1);
    if (off < 0.5) {
        add_reason(why, off == 0 ? "same length"
                                 : "length within " + std::to_string(static_cast<int>(std::ceil(off * 100))) +
                                       " %");
    }
    return 3 * std::max(0.0, 1 - 4 * off);
}

double points_of_name(const FileFacts& damaged, const FileFacts& sample, std::string& why) {
    const std::string ours = utf8_from(damaged.path.stem());
    const std::string theirs = utf8_from(sample.path.stem());
    const auto our_number = number_in(ours);
    const auto their_number = number_in(theirs);
    if (!our_number || !their_number || without_number(ours) != without_number(theirs)) {
        return 0;
    }
    const long away = std::labs(*our_number - *their_number);
    add_reason(why, "name " + std::to_string(away) + " away");
    return 1 + 1.0 / (1.0 + static_cast<double>(away) / 50);
}

double points_of_date(const FileFacts& damaged, const FileFacts& sample, std::string& why) {
    const auto away = std::chrono::abs(damaged.changed - sample.changed);
    if (away > std::chrono::hours(24)) {
        return 0;
    }
    add_reason(why, "same day");
    return 1;
}

Scored rank(const FileFacts& damaged, const FileFacts& sample) {
    Scored ranked;
    std::string why;
    ranked.same_kind = are_same_kind(damaged.kind, sample.kind);
    ranked.points = points_of_sizes(damaged, sample, why);
    ranked.same_sizes = ranked.points > 0;
    for (const auto points : {points_of_order, points_of_length, points_of_name, points_of_date}) {
        ranked.points += points(damaged, sample, why);
    }
    ranked.sample = {
        sample.path,
        why.empty() ? (ranked.same_kind ? "nothing in common except the format" : "nothing in common") : why};
    return ranked;
}

/// Leaves out samples of another kind that share no picture size, unless there are no others.
void drop_strangers(std::vector<Scored>& ranked) {
    if (std::any_of(ranked.begin(), ranked.end(), [](const Scored& one) { return one.same_kind; })) {
        std::erase_if(ranked, [](const Scored& one) { return !one.same_kind && !one.same_sizes; });
    }
}

bool same_file(const fs::path& one, const fs::path& other) {
    std::error_code none;
    return fs::equivalent(one, other, none);
}

} // namespace

Samples::Samples(const std::vector<fs::path>& files) {
    facts_.reserve(files.size());
    for (const fs::path& file : files) {
        check_interruption();
        facts_.push_back(facts_of(file));
    }
}

std::uint64_t Samples::longest_for(const std::string& kind) const {
    std::uint64_t of_kind = 0;
    std::uint64_t of_all = 0;
    for (const FileFacts& sample : facts_) {
        of_all = std::max(of_all, sample.size);
        of_kind = std::max(of_kind, are_same_kind(kind, sample.kind) ? sample.size : 0);
    }
    return of_kind != 0 ? of_kind : of_all;
}

std::vector<RankedSample> Samples::ranked_for(const fs::path& damaged_path, const std::string& kind,
                                              const fs::path& copy) const {
    std::vector<const FileFacts*> others;
    for (const FileFacts& sample : facts_) {
        if (!same_file(sample.path, damaged_path)) {
            others.push_back(&sample);
        }
    }
    if (facts_.size() == 1 && !others.empty()) { // Nothing to choose from: the damaged file need not be read.
        return {{others.front()->path, "the only one"}};
    }
    FileFacts damaged = facts_of(copy);
    damaged.path = damaged_path;
    damaged.kind = kind;
    std::error_code none;
    damaged.changed = fs::last_write_time(damaged_path, none);
    std::vector<Scored> ranked;
    ranked.reserve(others.size());
    for (const FileFacts* sample : others) {
        ranked.push_back(rank(damaged, *sample));
    }
    drop_strangers(ranked);
    std::stable_sort(ranked.begin(), ranked.end(), [](const Scored& one, const Scored& other) {
        return std::pair(one.same_kind, one.points) > std::pair(other.same_kind, other.points);
    });
    std::vector<RankedSample> samples;
    samples.reserve(ranked.size());
    for (Scored& one : ranked) {
        samples.push_back(std::move(one.sample));
    }
    return samples;
}

} // namespace plate_mend::host
