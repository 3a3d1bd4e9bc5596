#include "PictureTrials.h"

#include "Laboratory.h"

#include "support/Jpeg.h"

#include <algorithm>
#include <cstdint>
#include <random>
#include <stdexcept>

namespace test {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kKib = 1024;

bool is_jpeg_name(const fs::path& path) {
    std::string extension = path.extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](char letter) { return letter >= 'A' && letter <= 'Z' ? char(letter + 32) : letter; });
    return extension == ".jpg" || extension == ".jpeg";
}

/// The data of the first scan; 0 where there are none.
std::size_t first_data(const Bytes& jpeg) {
    try {
        return dissect(jpeg).scan_header.last;
    } catch (const std::out_of_range&) {
        return 0;
    }
}

/// Offsets of a damaged area: from a share of the scan's data on, of this many bytes, but at most an eighth
/// of the data.
struct Area {
    std::size_t first = 0;
    std::size_t last = 0;
};
Area area_at(const RealPicture& picture, double share, std::size_t size) {
    const std::size_t data = picture.file.size() - picture.data;
    const std::size_t first = picture.data + static_cast<std::size_t>(static_cast<double>(data) * share);
    return {first, first + std::min(size, data / 8)};
}

/// Clusters of a file system, from the beginning of the file: fewer bytes for a small file.
std::size_t cluster_of(const RealPicture& picture) {
    return picture.file.size() >= 512 * kKib ? 32 * kKib : 4 * kKib;
}

Area cluster_at(const RealPicture& picture, double share) {
    const std::size_t cluster = cluster_of(picture);
    const std::size_t first = area_at(picture, share, 0).first / cluster * cluster + cluster;
    return {first, first + cluster};
}

void keep_all(DamagedCopy& copy) {
    copy.keep(0, copy.original().file.size());
}

void keep_from(DamagedCopy& copy, std::size_t first) {
    copy.keep(first, copy.original().file.size());
}

/// Replaces an area by the bytes that fill makes of its size.
PictureDamage replaced(const std::string& name, const std::vector<double>& shares, std::size_t size,
                       const std::function<Bytes(std::size_t size, const Bytes& other)>& fill) {
    return {name, [=](DamagedCopy& copy, const Bytes& other) {
                std::size_t done = 0;
                for (const double share : shares) {
                    const Area area = area_at(copy.original(), share, size);
                    copy.keep(done, area.first);
                    copy.add(fill(area.last - area.first, other));
                    done = area.last;
                }
                keep_from(copy, done);
            }};
}

Bytes zeros(std::size_t size, const Bytes& /*other*/) {
    return Bytes(size, 0);
}
Bytes ones(std::size_t size, const Bytes& /*other*/) {
    return Bytes(size, 0xFF);
}
Bytes random_bytes(std::size_t size, const Bytes& /*other*/) {
    return noise(size, 77);
}
/// The middle of another picture, again and again if it is small.
Bytes foreign(std::size_t size, const Bytes& other) {
    Bytes bytes;
    for (std::size_t index = 0; index < size; ++index) {
        bytes.push_back(other[(other.size() / 3 + index) % other.size()]);
    }
    return bytes;
}

PictureDamage head_lost(const std::string& name, std::size_t size, bool random) {
    return {name, [=](DamagedCopy& copy, const Bytes& other) {
                const std::size_t all = copy.original().file.size();
                const std::size_t lost = size == 0 ? copy.original().data : std::min(size, all / 2);
                copy.add(random ? random_bytes(lost, other) : zeros(lost, other));
                keep_from(copy, lost);
            }};
}

PictureDamage cut(unsigned percent) {
    return {"cut at " + std::to_string(percent) + " %", [percent](DamagedCopy& copy, const Bytes&) {
                copy.keep(0, area_at(copy.original(), percent / 100.0, 0).first);
            }};
}

PictureDamage lost(const std::string& name, std::size_t size) {
    return {name, [=](DamagedCopy& copy, const Bytes&) {
                const Area area = area_at(copy.original(), 0.35, size);
                copy.keep(0, area.first);
                keep_from(copy, area.last);
            }};
}

PictureDamage inserted(const std::string& name, std::size_t size,
                       const std::function<Bytes(std::size_t size, const Bytes& other)>& fill) {
    return {name, [=](DamagedCopy& copy, const Bytes& other) {
                const std::size_t first = area_at(copy.original(), 0.35, 0).first;
                copy.keep(0, first);
                copy.add(fill(size, other));
                keep_from(copy, first);
            }};
}

/// Bits of the scans that changed: this many per MB, at least one.
PictureDamage flips(const std::string& name, std::size_t per_megabyte) {
    return {name, [=](DamagedCopy& copy, const Bytes&) {
                const RealPicture& picture = copy.original();
                const std::size_t data = picture.file.size() - picture.data;
                const std::size_t count = std::max<std::size_t>(data * per_megabyte / 1000000, 1);
                std::mt19937 random(1234);
                std::vector<std::size_t> places;
                for (std::size_t index = 0; index < count; ++index) {
                    places.push_back(picture.data + 64 + random() % (data - 128));
                }
                std::sort(places.begin(), places.end());
                places.erase(std::unique(places.begin(), places.end()), places.end());
                std::size_t done = 0;
                for (const std::size_t place : places) {
                    copy.keep(done, place);
                    copy.add({static_cast<unsigned char>(picture.file[place] ^ (1U << (random() % 8)))});
                    done = place + 1;
                }
                keep_from(copy, done);
            }};
}

void lose_cluster(DamagedCopy& copy, const Bytes& /*other*/) {
    const Area cluster = cluster_at(copy.original(), 0.4);
    copy.keep(0, cluster.first);
    keep_from(copy, cluster.last);
}

void repeat_cluster(DamagedCopy& copy, const Bytes& /*other*/) {
    const Area cluster = cluster_at(copy.original(), 0.4);
    copy.keep(0, cluster.last);
    keep_from(copy, cluster.first);
}

PictureDamage swapped(const std::string& name, double share, double other_share) {
    return {name, [=](DamagedCopy& copy, const Bytes&) {
                const Area one = cluster_at(copy.original(), share);
                Area two = cluster_at(copy.original(), other_share);
                const std::size_t cluster = cluster_of(copy.original());
                two = two.first < one.last ? Area{one.last, one.last + cluster} : two;
                copy.keep(0, one.first);
                copy.keep(two.first, two.last);
                copy.keep(one.last, two.first);
                copy.keep(one.first, one.last);
                keep_from(copy, two.last);
            }};
}

void swap_fragments(DamagedCopy& copy, const Bytes& /*other*/) {
    const Area one = cluster_at(copy.original(), 0.25);
    const Area two = cluster_at(copy.original(), 0.5);
    const Area three = cluster_at(copy.original(), 0.75);
    copy.keep(0, one.first);
    copy.keep(two.first, three.first);
    copy.keep(one.first, two.first);
    keep_from(copy, three.first);
}

PictureDamage encrypted(const std::string& name, bool small) {
    return {name, [=](DamagedCopy& copy, const Bytes&) {
                const RealPicture& picture = copy.original();
                const std::size_t cluster = small ? 4 * kKib : cluster_of(picture) * 4;
                const std::size_t first = (picture.data / cluster + 1) * cluster;
                copy.keep(0, first);
                for (std::size_t place = first; place < picture.file.size(); place += 2 * cluster) {
                    const std::size_t end = std::min(place + cluster, picture.file.size());
                    copy.add(noise(end - place, static_cast<std::uint32_t>(place)));
                    copy.keep(end, end + cluster);
                }
            }};
}

/// A transfer in text mode: each LF becomes CR LF.
void add_carriage_returns(DamagedCopy& copy, const Bytes& /*other*/) {
    const Bytes& file = copy.original().file;
    for (std::size_t done = 0; done < file.size();) {
        const auto next = static_cast<std::size_t>(
            std::find(file.begin() + static_cast<std::ptrdiff_t>(done), file.end(), 0x0A) - file.begin());
        copy.keep(done, next);
        if (next < file.size()) {
            copy.add({0x0D});
            copy.keep(next, next + 1);
        }
        done = next + 1;
    }
}

/// The other way round: each CR LF becomes LF.
void drop_carriage_returns(DamagedCopy& copy, const Bytes& /*other*/) {
    const Bytes& file = copy.original().file;
    std::size_t done = 0;
    for (std::size_t place = 0; place + 1 < file.size(); ++place) {
        if (file[place] == 0x0D && file[place + 1] == 0x0A) {
            copy.keep(done, place);
            done = place + 1;
        }
    }
    keep_from(copy, done);
}

void interleave(DamagedCopy& copy, const Bytes& other) {
    const std::size_t size = copy.original().file.size();
    const std::size_t cluster = 32 * kKib;
    for (std::size_t place = 0; place < size; place += cluster) {
        copy.keep(place, place + cluster);
        copy.add(part(other, std::min(place, other.size()), std::min(place + cluster, other.size())));
    }
}

/// Sets the header's segments of a kind to zero.
PictureDamage segments_lost(const std::string& name, std::vector<Anatomy::Part> Anatomy::*kind) {
    return {name, [=](DamagedCopy& copy, const Bytes& other) {
                std::size_t done = 0;
                const Anatomy anatomy = dissect(copy.original().file);
                for (const auto& segment : anatomy.*kind) {
                    copy.keep(done, segment.first);
                    copy.add(zeros(segment.last - segment.first, other));
                    done = segment.last;
                }
                keep_from(copy, done);
            }};
}

std::vector<PictureDamage> make_picture_damages() {
    const std::vector<double> thrice{0.2, 0.45, 0.8};
    return {
        {"none", [](DamagedCopy& copy, const Bytes&) { keep_all(copy); }},
        {"EOI lost",
         [](DamagedCopy& copy, const Bytes&) { copy.keep(0, dissect(copy.original().file).end.first); }},
        segments_lost("DHT lost", &Anatomy::huffman_tables),
        segments_lost("DQT lost", &Anatomy::quant_tables),
        segments_lost("SOF lost", &Anatomy::frame),
        head_lost("head zeroed, up to the data", 0, false),
        head_lost("head random, 64 KiB", 64 * kKib, true),
        head_lost("head random, 150 KiB", 150 * kKib, true),
        replaced("zeros, 512 bytes", {0.5}, 512, zeros),
        replaced("zeros, 4 KiB", {0.3}, 4 * kKib, zeros),
        replaced("zeros, 64 KiB", {0.4}, 64 * kKib, zeros),
        replaced("ones, 4 KiB", {0.3}, 4 * kKib, ones),
        replaced("noise, 512 bytes", {0.5}, 512, random_bytes),
        replaced("noise, 4 KiB", {0.3}, 4 * kKib, random_bytes),
        replaced("noise, three times 512 bytes", thrice, 512, random_bytes),
        replaced("foreign data, 4 KiB", {0.3}, 4 * kKib, foreign),
        replaced("foreign data, 64 KiB", {0.4}, 64 * kKib, foreign),
        lost("1 byte lost", 1),
        lost("100 bytes lost", 100),
        inserted("100 bytes inserted", 100, random_bytes),
        inserted("64 KiB of another JPEG inserted", 64 * kKib, foreign),
        {"a cluster lost", lose_cluster},
        {"a cluster repeated", repeat_cluster},
        swapped("two neighbouring clusters swapped", 0.4, 0.4),
        swapped("two distant clusters swapped", 0.3, 0.7),
        {"two fragments swapped", swap_fragments},
        flips("one bit changed", 0),
        flips("bits changed, 10 per MB", 10),
        flips("bits changed, 100 per MB", 100),
        cut(30),
        cut(50),
        cut(80),
        encrypted("every second 4 KiB encrypted", true),
        encrypted("every second large piece encrypted", false),
        {"LF became CR LF", add_carriage_returns},
        {"CR LF became LF", drop_carriage_returns},
        {"interleaved with another JPEG", interleave},
    };
}

} // namespace

std::vector<RealPicture> find_pictures(const fs::path& folder, std::size_t most_bytes) {
    std::vector<RealPicture> pictures;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        if (entry.is_regular_file() && is_jpeg_name(entry.path()) && entry.file_size() <= most_bytes) {
            RealPicture picture{entry.path().lexically_relative(folder).generic_string(),
                                read_file(entry.path())};
            picture.data = first_data(picture.file);
            if (picture.data > 0 && jpeg_decodes(picture.file)) {
                pictures.push_back(std::move(picture));
            }
        }
    }
    std::sort(pictures.begin(), pictures.end(),
              [](const RealPicture& a, const RealPicture& b) { return a.name < b.name; });
    return pictures;
}

void DamagedCopy::keep(std::size_t first, std::size_t last) {
    const Bytes& all = original_.file;
    kept_.resize(all.size());
    last = std::min(last, all.size());
    first = std::min(first, last);
    const Bytes kept = part(all, first, last);
    file_.insert(file_.end(), kept.begin(), kept.end());
    std::fill(kept_.begin() + static_cast<std::ptrdiff_t>(first),
              kept_.begin() + static_cast<std::ptrdiff_t>(last), true);
}

double DamagedCopy::surviving_share() const {
    const auto data = kept_.begin() + static_cast<std::ptrdiff_t>(original_.data);
    return static_cast<double>(std::count(data, kept_.end(), true)) /
           static_cast<double>(original_.file.size() - original_.data);
}

const std::vector<PictureDamage>& picture_damages() {
    static const std::vector<PictureDamage> all = make_picture_damages();
    return all;
}

PictureTrial run_picture_trial(const RealPicture& picture, const PictureDamage& damage, const Bytes& other) {
    DamagedCopy copy(picture);
    damage.apply(copy, other);
    const Trial trial = run_trial(picture.file, {copy.file(), 0, copy.file().size()});
    PictureTrial result{picture.name, damage.name, copy.surviving_share()};
    result.plain = trial.plain_share();
    result.salvaged = trial.share();
    result.own = result.salvaged;
    result.delivered = trial.result == 0 && !trial.other;
    auto total = static_cast<double>(trial.mcus);
    const auto of_other = trial.offset > 0 ? mcus_in_place(other, trial.output) : std::vector<bool>{};
    if (!of_other.empty() && result.salvaged == 0) { // What was delivered is the foreign picture.
        total = static_cast<double>(of_other.size());
        result.own = static_cast<double>(std::count(of_other.begin(), of_other.end(), true)) / total;
    }
    result.claimed = result.delivered ? static_cast<double>(trial.claimed) / total : 0;
    result.kept = trial.kept;
    return result;
}

} // namespace test
