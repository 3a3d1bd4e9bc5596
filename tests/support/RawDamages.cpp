#include "support/RawDamages.h"

#include "support/Jpeg.h"
#include "support/Scene.h"

#include <algorithm>
#include <functional>
#include <random>
#include <utility>

namespace test {

namespace {

constexpr std::size_t kSector = 512;
constexpr std::size_t kKiB = 1024;
constexpr std::size_t kMiB = 1024 * kKiB;

using Apply = std::function<void(DamagedRaw& damaged, const RawPhotograph& photograph)>;

Bytes seeded_noise(std::size_t count, const RawPhotograph& photograph) {
    return noise(count, 1000 + photograph.seed);
}

/// The first sector of a cluster of this many bytes inside the image: in the middle, or where the seed puts
/// it. The nth of one seed are independent.
std::size_t cluster_in(const RawPhotograph& photograph, std::size_t count, unsigned nth = 0) {
    const std::size_t begin = photograph.layout.image_begin();
    const std::size_t room = photograph.layout.image_end() - begin - count;
    if (photograph.seed == 0) {
        return (begin + room / (2 + nth)) / kSector * kSector;
    }
    std::mt19937 random(photograph.seed + 7919 * nth);
    return (begin + room / 20 + random() % (room - room / 20)) / kSector * kSector;
}

void overwrite_head(DamagedRaw& damaged, Bytes foreign) {
    foreign.resize(std::min(foreign.size(), damaged.size()));
    damaged.overwrite(0, foreign);
}

Apply zero_head(std::size_t count) {
    return [count](DamagedRaw& damaged, const RawPhotograph&) { overwrite_head(damaged, Bytes(count)); };
}

void zero_to_image(DamagedRaw& damaged, const RawPhotograph& photograph) {
    overwrite_head(damaged, Bytes(photograph.layout.image_begin()));
}

Apply displace(std::size_t count) {
    return [count](DamagedRaw& damaged, const RawPhotograph& photograph) {
        damaged.put_in(0, seeded_noise(count, photograph));
    };
}

Apply noise_head(std::size_t count) {
    return [count](DamagedRaw& damaged, const RawPhotograph& photograph) {
        overwrite_head(damaged, seeded_noise(count, photograph));
    };
}

Apply both(const Apply& first, const Apply& second) {
    return [first, second](DamagedRaw& damaged, const RawPhotograph& photograph) {
        first(damaged, photograph);
        second(damaged, photograph);
    };
}

Apply lose(std::size_t count) {
    return [count](DamagedRaw& damaged, const RawPhotograph& photograph) {
        damaged.lose(cluster_in(photograph, count), count);
    };
}

Apply put_in(std::size_t count) {
    return [count](DamagedRaw& damaged, const RawPhotograph& photograph) {
        damaged.put_in(cluster_in(photograph, count), seeded_noise(count, photograph));
    };
}

Apply zero(std::size_t count) {
    return [count](DamagedRaw& damaged, const RawPhotograph& photograph) {
        damaged.overwrite(cluster_in(photograph, count), Bytes(count));
    };
}

Apply overwrite(std::size_t count) {
    return [count](DamagedRaw& damaged, const RawPhotograph& photograph) {
        damaged.overwrite(cluster_in(photograph, count), seeded_noise(count, photograph));
    };
}

Apply swap(std::size_t count) {
    return [count](DamagedRaw& damaged, const RawPhotograph& photograph) {
        std::size_t first = cluster_in(photograph, count);
        std::size_t second = cluster_in(photograph, count, 1);
        if (first > second) {
            std::swap(first, second);
        }
        if (first + count <= second) {
            damaged.swap(first, second, count);
        }
    };
}

/// Damages three clusters, the last one first.
Apply three(std::size_t count,
            const std::function<void(DamagedRaw&, const RawPhotograph&, std::size_t)>& one) {
    return [count, one](DamagedRaw& damaged, const RawPhotograph& photograph) {
        std::vector<std::size_t> places;
        for (const unsigned nth : {0U, 1U, 2U}) {
            places.push_back(cluster_in(photograph, count, nth));
        }
        std::ranges::sort(places, std::greater<>());
        std::size_t before = damaged.size();
        for (const std::size_t at : places) {
            if (at + count <= before) {
                one(damaged, photograph, at);
                before = at;
            }
        }
    };
}

Apply lose_three(std::size_t count) {
    return three(count, [count](DamagedRaw& damaged, const RawPhotograph&, std::size_t at) {
        damaged.lose(at, count);
    });
}

Apply overwrite_three(std::size_t count) {
    return three(count, [count](DamagedRaw& damaged, const RawPhotograph& photograph, std::size_t at) {
        damaged.overwrite(at, seeded_noise(count, photograph));
    });
}

void cut_at_half(DamagedRaw& damaged, const RawPhotograph& photograph) {
    const RawLayout& layout = photograph.layout;
    const std::size_t at = (layout.image_begin() + layout.image_end()) / 2 / kSector * kSector;
    damaged.lose(at, damaged.size() - at);
}

void sprinkle_head(DamagedRaw& damaged, const RawPhotograph& photograph) {
    constexpr std::size_t kBytes = 16;
    const std::size_t end = photograph.layout.image_begin();
    const Bytes foreign = seeded_noise(end, photograph);
    for (std::size_t at = 0; at < end; at += kSector) {
        damaged.overwrite(at, part(foreign, at, std::min(at + kBytes, end)));
    }
}

Bytes foreign_jpeg(const RawPhotograph& photograph) {
    return make_preview(Scene(100 + photograph.seed), 640, 480);
}

void prepend_jpeg(DamagedRaw& damaged, const RawPhotograph& photograph) {
    damaged.put_in(0, foreign_jpeg(photograph));
}

void prepend_other(DamagedRaw& damaged, const RawPhotograph& photograph) {
    damaged.put_in(0, photograph.other);
}

void prepend_half_of_other(DamagedRaw& damaged, const RawPhotograph& photograph) {
    damaged.put_in(0, part(photograph.other, 0, photograph.other.size() / 2 / kSector * kSector));
}

Apply append_noise(std::size_t count) {
    return [count](DamagedRaw& damaged, const RawPhotograph& photograph) {
        damaged.put_in(damaged.size(), seeded_noise(count, photograph));
    };
}

void overwrite_head_with_other(DamagedRaw& damaged, const RawPhotograph& photograph) {
    const RawLayout other = read_raw_layout(photograph.other);
    const std::size_t count = std::min(photograph.layout.image_begin(), other.image_begin());
    overwrite_head(damaged, part(photograph.other, 0, count));
}

/// Flips single bits in the entries of directories.
Apply flip_bits(unsigned count) {
    return [count](DamagedRaw& damaged, const RawPhotograph& photograph) {
        std::mt19937 random(photograph.seed + 1);
        for (unsigned nth = 0; nth < count; ++nth) {
            const auto& entries = photograph.layout.entries;
            const FileRange& some = entries[random() % entries.size()];
            const std::size_t at = some.begin + random() % (some.end - some.begin);
            const auto flipped = static_cast<unsigned char>(photograph.bytes[at] ^ (1U << (random() % 8U)));
            damaged.overwrite(at, {flipped});
        }
    };
}

std::vector<RawDamage> make_damages() {
    std::vector<RawDamage> all{
        {"none", [](DamagedRaw&, const RawPhotograph&) {}},
        {"head zeroed, 4 KiB", zero_head(4 * kKiB)},
        {"head zeroed, 64 KiB", zero_head(64 * kKiB)},
        {"head zeroed, 128 KiB", zero_head(128 * kKiB)},
        {"head zeroed up to the image", zero_to_image},
        {"displaced by 512", displace(512)},
        {"displaced by 4096", displace(4096)},
        {"displaced by 1000", displace(1000)},
        {"head zeroed, 64 KiB, displaced by 4096", both(zero_head(64 * kKiB), displace(4096))},
        {"head zeroed up to the image, displaced by 1000", both(zero_to_image, displace(1000))},
        {"displaced by 1", displace(1)},
        {"displaced by 3", displace(3)},
        {"head zeroed up to the image, displaced by 3", both(zero_to_image, displace(3))},
        {"head noise, 4 KiB", noise_head(4 * kKiB)},
        {"head noise, 1 MiB", noise_head(kMiB)},
        {"head, 16 bytes of noise every 512", sprinkle_head},
        {"a JPEG before it", prepend_jpeg},
        {"head zeroed, 4 KiB, a JPEG before it", both(zero_head(4 * kKiB), prepend_jpeg)},
        {"another photograph before it", prepend_other, true},
        {"head zeroed, 4 KiB, half of another photograph before it",
         both(zero_head(4 * kKiB), prepend_half_of_other), true},
        {"noise after it, 4096", append_noise(4096)},
        {"head zeroed up to the image, noise after it, 100,000", both(zero_to_image, append_noise(100000))},
        {"head of another photograph", overwrite_head_with_other, true},
        {"tables, 1 bit flipped", flip_bits(1)},
        {"tables, 8 bits flipped", flip_bits(8)},
    };
    for (const std::size_t size : {4 * kKiB, 32 * kKiB}) {
        const std::string name = std::to_string(size / kKiB) + " KiB";
        all.push_back({"cluster lost, " + name, lose(size), false, size});
        all.push_back({"cluster put in, " + name, put_in(size), false, size});
        all.push_back({"cluster zeroed, " + name, zero(size), false, size});
        all.push_back({"cluster noise, " + name, overwrite(size), false, size});
        all.push_back({"clusters swapped, " + name, swap(size), false, size});
    }
    all.push_back({"three clusters lost, 4 KiB", lose_three(4 * kKiB), false, 16 * kKiB});
    all.push_back({"three clusters noise, 4 KiB", overwrite_three(4 * kKiB), false, 16 * kKiB});
    all.push_back({"head zeroed, 64 KiB, cluster lost, 4 KiB",
                   [](DamagedRaw& damaged, const RawPhotograph& photograph) {
                       zero_head(64 * kKiB)(damaged, photograph);
                       lose(4 * kKiB)(damaged, photograph);
                   },
                   false, 4 * kKiB});
    all.push_back({"cut at half", cut_at_half});
    return all;
}

} // namespace

DamagedRaw::DamagedRaw(const Bytes& original) : original_(original), runs_{{0, original.size(), {}}} {}

std::size_t DamagedRaw::size() const {
    std::size_t sum = 0;
    for (const Run& run : runs_) {
        sum += run.length;
    }
    return sum;
}

void DamagedRaw::lose(std::size_t at, std::size_t count) {
    const std::size_t first = split(at);
    const std::size_t last = split(at + count);
    runs_.erase(runs_.begin() + static_cast<std::ptrdiff_t>(first),
                runs_.begin() + static_cast<std::ptrdiff_t>(last));
}

void DamagedRaw::put_in(std::size_t at, Bytes foreign) {
    const std::size_t length = foreign.size();
    if (length != 0) {
        const std::size_t run = split(at); // Iterators before it do not stay valid.
        runs_.insert(runs_.begin() + static_cast<std::ptrdiff_t>(run), {0, length, std::move(foreign)});
    }
}

void DamagedRaw::overwrite(std::size_t at, const Bytes& foreign) {
    lose(at, foreign.size());
    put_in(at, foreign);
}

void DamagedRaw::swap(std::size_t first, std::size_t second, std::size_t count) {
    // Once a run begins at each of these positions, iterators stay valid.
    for (const std::size_t at : {first, first + count, second, second + count}) {
        split(at);
    }
    const auto run = [this](std::size_t at) {
        return runs_.begin() + static_cast<std::ptrdiff_t>(split(at));
    };
    std::vector<Run> left(run(first), run(first + count));
    std::vector<Run> between(run(first + count), run(second));
    std::vector<Run> right(run(second), run(second + count));
    auto to = run(first);
    for (const auto* runs : {&right, &between, &left}) {
        to = std::copy(runs->begin(), runs->end(), to);
    }
}

Bytes DamagedRaw::bytes() const {
    Bytes all;
    all.reserve(size());
    for (const Run& run : runs_) {
        const bool own = run.foreign.empty();
        const auto from =
            own ? original_.begin() + static_cast<std::ptrdiff_t>(run.begin) : run.foreign.begin();
        all.insert(all.end(), from, from + static_cast<std::ptrdiff_t>(run.length));
    }
    return all;
}

Survival DamagedRaw::survival_of(const RawLayout& layout) const {
    std::vector<FileRange> ranges = surviving();
    const auto holds = [&](const FileRange& piece) {
        return std::ranges::any_of(ranges, [&](const FileRange& range) {
            return range.begin <= piece.begin && piece.end <= range.end;
        });
    };
    if (std::ranges::all_of(layout.pieces, holds)) {
        return Survival::kWhole;
    }
    // Each byte survives at most once, so joining what is side by side in the original is enough.
    std::ranges::sort(ranges, {}, &FileRange::begin);
    std::vector<FileRange> joined;
    for (const FileRange& range : ranges) {
        if (!joined.empty() && joined.back().end == range.begin) {
            joined.back().end = range.end;
        } else {
            joined.push_back(range);
        }
    }
    ranges = std::move(joined);
    return std::ranges::all_of(layout.pieces, holds) ? Survival::kTorn : Survival::kLost;
}

std::size_t DamagedRaw::split(std::size_t at) {
    std::size_t index = 0;
    while (index < runs_.size() && at >= runs_[index].length) {
        at -= runs_[index].length;
        ++index;
    }
    if (at == 0) {
        return index;
    }
    Run& run = runs_[index];
    Run rest{run.begin + at, run.length - at, {}};
    if (!run.foreign.empty()) {
        rest = {0, run.length - at, part(run.foreign, at, run.length)};
        run.foreign.resize(at);
    }
    run.length = at;
    runs_.insert(runs_.begin() + static_cast<std::ptrdiff_t>(index) + 1, std::move(rest));
    return index + 1;
}

std::vector<FileRange> DamagedRaw::surviving() const {
    std::vector<FileRange> ranges;
    bool continues = false;
    for (const Run& run : runs_) {
        if (run.foreign.empty() && continues && ranges.back().end == run.begin) {
            ranges.back().end += run.length;
        } else if (run.foreign.empty()) {
            ranges.push_back({run.begin, run.begin + run.length});
        }
        continues = run.foreign.empty();
    }
    return ranges;
}

const std::vector<RawDamage>& raw_damages() {
    static const std::vector<RawDamage> all = make_damages();
    return all;
}

} // namespace test
