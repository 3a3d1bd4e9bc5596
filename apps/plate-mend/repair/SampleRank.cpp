#include "repair/SampleRank.h"

#include "files/Formats.h"
#include "text/Paths.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <optional>
#include <tuple>

namespace plate_mend::host {

namespace {

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

/// How many of some facts others have too.
template <typename Value>
std::size_t count_shared(const std::set<Value>& ours, const std::set<Value>& theirs) {
    return static_cast<std::size_t>(std::count_if(
        ours.begin(), ours.end(), [&](const Value& value) { return theirs.count(value) != 0; }));
}

template <typename Value>
double shared_part(const std::set<Value>& ours, const std::set<Value>& theirs) {
    return static_cast<double>(count_shared(ours, theirs)) / static_cast<double>(ours.size());
}

/// The first of the texts that the damaged file has too; empty for none.
std::string shared_text(const Remains& damaged, const std::set<std::string>& own,
                        const std::set<std::string>& sample) {
    const auto found = std::find_if(sample.begin(), sample.end(), [&](const std::string& text) {
        return own.count(text) != 0 || (!damaged.names_its_camera && damaged.texts.count(text) != 0);
    });
    return found == sample.end() ? "" : *found;
}

SampleRank::Camera compare_cameras(const DamagedFacts& damaged, const SampleFacts& sample, std::string& why) {
    const std::set<std::string>& models = sample.photograph.models;
    if (damaged.cameras.empty() || models.empty()) {
        return SampleRank::Camera::kUnknown;
    }
    std::string same; // Its longest name.
    for (const std::string& model : models) {
        if (damaged.cameras.count(model) != 0 && model.size() > same.size()) {
            same = model;
        }
    }
    add_reason(why, same.empty() ? "other camera (" + *models.begin() + ")" : "same camera (" + same + ")");
    return !same.empty() ? SampleRank::Camera::kSame : SampleRank::Camera::kOther;
}

// The points are an order of what tells cameras and settings apart. Picture sizes say most, and a byte order
// rules a camera out. Tables, bits and compression differ between settings of one camera, too; what follows
// decides only where these are equal.

double points_of_sizes(const DamagedFacts& damaged, const SampleFacts& sample, std::string& why) {
    const auto& ours = damaged.remains.facts.sizes;
    const auto& theirs = sample.photograph.sizes;
    if (ours.empty() || theirs.empty()) {
        return 0;
    }
    std::string shared;
    std::size_t count = 0;
    for (const auto& [width, height] : ours) {
        if (theirs.count({width, height}) != 0 && ++count <= 3) {
            shared += (shared.empty() ? "" : ", ") + std::to_string(width) + " x " + std::to_string(height);
        }
    }
    if (count == 0) {
        add_reason(why, "other picture sizes");
        return -6;
    }
    add_reason(why, "same picture sizes (" + shared + ")");
    return 8 * shared_part(ours, theirs);
}

double points_of_order(const DamagedFacts& damaged, const SampleFacts& sample, std::string& why) {
    const PhotographFacts& ours = damaged.remains.facts;
    const PhotographFacts& theirs = sample.photograph;
    if (ours.little_endian == ours.big_endian || theirs.little_endian == theirs.big_endian) {
        return 0;
    }
    const bool same = (ours.little_endian > ours.big_endian) == (theirs.little_endian > theirs.big_endian);
    add_reason(why, same ? "same byte order" : "other byte order");
    return same ? 4 : -8;
}

/// Only of pictures whose size both have: others say nothing more than their sizes.
double points_of_coding(const DamagedFacts& damaged, const SampleFacts& sample, std::string& why) {
    std::size_t same = 0;
    std::size_t other = 0;
    for (const ImageCoding& ours : damaged.remains.facts.codings) {
        for (const ImageCoding& theirs : sample.photograph.codings) {
            if (ours.width == theirs.width && ours.height == theirs.height) {
                ++(ours == theirs ? same : other);
            }
        }
    }
    if (same + other == 0) {
        return 0;
    }
    add_reason(why, other == 0 ? "same bits and compression" : "other bits or compression");
    return other == 0 ? 3 : -3;
}

double points_of_tables(const DamagedFacts& damaged, const SampleFacts& sample, std::string& why) {
    const PhotographFacts& ours = damaged.remains.facts;
    const PhotographFacts& theirs = sample.photograph;
    if (ours.tables.empty() || theirs.tables.empty()) {
        return 0;
    }
    const double same = shared_part(ours.tables, theirs.tables);
    add_reason(why, same == 1  ? "same preview tables"
                    : same > 0 ? "some of the same preview tables"
                               : "other preview tables");
    return same > 0 ? 4 * same : -1;
}

double points_of_samplings(const DamagedFacts& damaged, const SampleFacts& sample, std::string& why) {
    const auto& ours = damaged.remains.facts.samplings;
    const auto& theirs = sample.photograph.samplings;
    if (ours.empty() || theirs.empty()) {
        return 0;
    }
    const double same = shared_part(ours, theirs);
    if (same == 0) {
        add_reason(why, "other preview subsampling");
    }
    return same > 0 ? same : -1;
}

double points_of_software(const DamagedFacts& damaged, const SampleFacts& sample, std::string& why) {
    const Remains& remains = damaged.remains;
    const std::string same = shared_text(remains, remains.facts.software, sample.photograph.software);
    if (!same.empty()) {
        add_reason(why, "same firmware (" + same + ")");
        return 2;
    }
    return 0;
}

double points_of_make(const DamagedFacts& damaged, const SampleFacts& sample, std::string& why) {
    const Remains& remains = damaged.remains;
    const std::string same = shared_text(remains, remains.facts.makes, sample.photograph.makes);
    if (!same.empty() && !why.starts_with("same camera")) {
        add_reason(why, "same maker (" + same + ")");
    }
    return same.empty() ? 0 : 4;
}

double points_of_length(const DamagedFacts& damaged, const SampleFacts& sample, std::string& why) {
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

double points_of_name(const DamagedFacts& damaged, const SampleFacts& sample, std::string& why) {
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

double points_of_date(const DamagedFacts& damaged, const SampleFacts& sample, std::string& why) {
    constexpr double kDay = 24 * 3600 * 1e9;
    const double away =
        std::abs(static_cast<double>(damaged.modified) - static_cast<double>(sample.modified));
    if (away > kDay) {
        return 0;
    }
    add_reason(why, "same day");
    return 1;
}

} // namespace

bool SampleRank::is_better_than(const SampleRank& other) const {
    return std::tuple(camera, same_kind, points) > std::tuple(other.camera, other.same_kind, other.points);
}

SampleRank rank_of(const DamagedFacts& damaged, const SampleFacts& sample) {
    SampleRank rank;
    rank.same_kind = are_same_kind(damaged.kind, sample.kind);
    rank.camera = compare_cameras(damaged, sample, rank.why);
    rank.points = points_of_make(damaged, sample, rank.why);
    const double sizes = points_of_sizes(damaged, sample, rank.why);
    rank.same_sizes = sizes > 0;
    rank.points += sizes;
    for (const auto points : {points_of_order, points_of_coding, points_of_tables, points_of_samplings,
                              points_of_software, points_of_length, points_of_name, points_of_date}) {
        rank.points += points(damaged, sample, rank.why);
    }
    if (rank.why.empty()) {
        rank.why = rank.same_kind ? "nothing in common except the format" : "nothing in common";
    }
    return rank;
}

} // namespace plate_mend::host
