#include "host/VerdictLaboratory.h"

#include "host/Outcome.h"

#include "support/ArwPhoto.h"
#include "support/Cr2Photo.h"
#include "support/Cr3Photo.h"
#include "support/DngPhoto.h"
#include "support/HeadlessPhoto.h"
#include "support/NefPhoto.h"
#include "support/OrfPhoto.h"
#include "support/RafPhoto.h"
#include "support/RawDecode.h"
#include "support/RawLayout.h"
#include "support/RealFiles.h"
#include "support/Scene.h"
#include "support/Sr2Photo.h"
#include "support/TempDir.h"

#include <algorithm>
#include <array>
#include <map>
#include <utility>

namespace test {
namespace {

using plate_mend::host::Record;
using plate_mend::host::Verdict;

constexpr unsigned kShotWidth = 480;
constexpr unsigned kShotHeight = 360;

/// A block of maker notes: other photographs have their images at other places.
std::size_t notes_of(unsigned number) {
    return 2048 + 512 * (number % 5);
}

template <typename Photo>
Photo take_photo(unsigned number, std::size_t Photo::Options::*notes) {
    typename Photo::Options options;
    options.number = number;
    options.width = kShotWidth;
    options.height = kShotHeight;
    options.*notes = notes_of(number);
    return Photo(options);
}

/// Photographs whose image goes on to the end of the file.
///
///   notes  the option that sets where the image is
///   begin  the image's offset
template <typename Photo>
std::function<Shot(unsigned)> image_last(std::size_t Photo::Options::*notes, std::uint32_t Photo::*begin) {
    return [=](unsigned number) {
        const auto photo = take_photo<Photo>(number, notes);
        return Shot{photo.bytes, photo.*begin, photo.bytes.size()};
    };
}

Shot sr2_shot(unsigned number) {
    const Sr2Photo photo = make_sr2({.scene = number, .width = kShotWidth, .height = kShotHeight});
    return {photo.bytes, photo.image, photo.bytes.size()};
}

Shot orf_shot(unsigned number) {
    const OrfPhoto photo = make_orf({.scene = number, .width = kShotWidth, .height = kShotHeight});
    return {photo.bytes, photo.image, photo.bytes.size()};
}

Shot dng_shot(unsigned number) {
    const auto photo = take_photo<DngPhoto>(number, &DngPhoto::Options::private_data);
    return {photo.bytes, photo.tile_offsets.front(), end_of_tiles(photo)};
}

Shot cr3_shot(unsigned number) {
    const Cr3Photo photo({.number = number, .maker_notes = notes_of(number) / 4, .pictures = true});
    return {photo.bytes, photo.tracks[2].offset, photo.tracks[2].offset + photo.tracks[2].size};
}

std::function<Shot(unsigned)> headless(HeadlessPhoto::Kind kind) {
    return [kind](unsigned number) {
        // Rows do not end where sectors do, as in cameras.
        const HeadlessPhoto photo(
            {.kind = kind, .number = number, .width = 544, .filler = 8 * notes_of(number)});
        return Shot{photo.bytes, photo.image_offset, photo.bytes.size()};
    };
}

/// A photograph of a camera that has nothing in common with this one's.
Bytes stranger_to(const LaboratoryCamera& camera) {
    return camera.extension == "nef" ? ArwPhoto({.number = 77, .width = 320, .height = 240}).bytes
                                     : NefPhoto({.number = 77, .width = 320, .height = 240}).bytes;
}

/// The median step between neighbours of one colour in tiles of 32 x 32 samples, at least 1.
class LocalNoise {
  public:
    explicit LocalNoise(const RawPicture& picture) : across_(picture.width / kTileSide + 1) {
        for (unsigned top = 0; top < picture.height; top += kTileSide) {
            for (unsigned left = 0; left < across_ * kTileSide; left += kTileSide) {
                levels_.push_back(measure(picture, left, top));
            }
        }
    }

    [[nodiscard]] double at(unsigned x, unsigned y) const {
        return levels_[std::size_t{y / kTileSide} * across_ + x / kTileSide];
    }

  private:
    static constexpr unsigned kTileSide = 32;

    static double measure(const RawPicture& picture, unsigned left, unsigned top) {
        std::vector<int> steps;
        for (unsigned y = top; y < std::min(top + kTileSide, picture.height); ++y) {
            const std::uint16_t* row = &picture.samples[std::size_t{y} * picture.width];
            for (unsigned x = std::max(left, 2U); x + 2 < std::min(left + kTileSide, picture.width); ++x) {
                steps.push_back(std::abs(2 * int{row[x]} - row[x - 2] - row[x + 2]));
            }
        }
        if (steps.empty()) {
            return 1;
        }
        const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
        std::nth_element(steps.begin(), middle, steps.end());
        return std::max(1.0, *middle * 1.4826 / 2.45); // Of two neighbours' mean, times two.
    }

    unsigned across_;
    std::vector<double> levels_;
};

bool has_wrong_area(const std::vector<bool>& wrong, unsigned width, unsigned height) {
    constexpr unsigned kTileSide = 32;
    for (unsigned top = 0; top + kTileSide <= height; top += kTileSide / 2) {
        for (unsigned left = 0; left + kTileSide <= width; left += kTileSide / 2) {
            unsigned count = 0;
            for (unsigned y = top; y < top + kTileSide; ++y) {
                for (unsigned x = left; x < left + kTileSide; ++x) {
                    count += wrong[std::size_t{y} * width + x] ? 1U : 0U;
                }
            }
            if (2 * count >= kTileSide * kTileSide) {
                return true;
            }
        }
    }
    return false;
}

PictureDistance distance_between(const RawPicture& picture, const RawPicture& original) {
    PictureDistance distance;
    if (picture.width != original.width || picture.height != original.height ||
        picture.samples.size() != original.samples.size()) {
        return distance;
    }
    const LocalNoise noise(original);
    const std::size_t pixels = original.samples.size();
    std::vector<bool> wrong(pixels);
    std::size_t same = 0;
    std::size_t rows = 0;
    for (unsigned y = 0; y < original.height; ++y) {
        std::size_t in_row = 0;
        for (unsigned x = 0; x < original.width; ++x) {
            const std::size_t at = std::size_t{y} * original.width + x;
            const double off = std::abs(double{1} * picture.samples[at] - original.samples[at]);
            wrong[at] = off > 16 * noise.at(x, y);
            in_row += off == 0 ? 1U : 0U;
        }
        same += in_row;
        rows += in_row == original.width ? 1U : 0U;
    }
    const auto count = static_cast<double>(std::count(wrong.begin(), wrong.end(), true));
    distance.same = same == pixels;
    distance.wrong = count / static_cast<double>(pixels);
    distance.wrong_area = has_wrong_area(wrong, original.width, original.height);
    distance.pixels_same = static_cast<double>(same) / static_cast<double>(pixels);
    distance.rows_same = static_cast<double>(rows) / original.height;
    return distance;
}

PictureDistance distance_of(const Record& record, const RawPicture& original) {
    if (!record.raw && record.verdict != Verdict::kIntact) {
        return {};
    }
    const auto& file = record.raw ? *record.raw : record.damaged;
    const auto picture = decode_raw(std::filesystem::path(file.path));
    return picture ? distance_between(*picture, original) : PictureDistance{};
}

/// Files in a folder, and their records once the program has repaired them.
class LaboratoryBatch {
  public:
    explicit LaboratoryBatch(std::string extension) : extension_("." + std::move(extension)) {
        std::filesystem::create_directory(folder_ / "broken");
        std::filesystem::create_directory(folder_ / "samples");
    }

    void add_sample(const Bytes& bytes) { add(bytes, "samples", samples_++); }
    std::string add_damaged(const Bytes& bytes) { return add(bytes, "broken", damaged_++); }
    [[nodiscard]] bool empty() const { return damaged_ == 0; }

    [[nodiscard]] std::map<std::string, Record> repair() const {
        std::map<std::string, Record> records;
        for (Record& record : repair_all({"--jobs", "2", "--samples", utf8(folder_ / "samples"), "--out",
                                          utf8(folder_ / "out"), utf8(folder_ / "broken")},
                                         folder_.path())) {
            records.emplace(record.damaged.path, std::move(record));
        }
        return records;
    }

  private:
    std::string add(const Bytes& bytes, const char* folder, unsigned number) {
        const auto path = folder_ / folder / ("photo" + std::to_string(number) + extension_);
        write_file(path, bytes);
        return utf8(path);
    }

    TempDir folder_;
    std::string extension_;
    unsigned samples_ = 0;
    unsigned damaged_ = 0;
};

struct Trials {
    std::string extension;
    Shot sample;
    Shot original;
    Shot other;
    Bytes foreign;
    unsigned seed;
};

using Chooses = std::function<bool(const VerdictDamage&)>;

void take_results(const LaboratoryBatch& batch, const std::map<std::string, const VerdictDamage*>& damages,
                  const RawPicture& original, std::vector<LaboratoryResult>& results) {
    const auto records = batch.repair();
    for (const auto& [path, damage] : damages) {
        const Record& record = records.at(path);
        results.push_back({damage->name, damage->ambiguous, record, distance_of(record, original)});
    }
}

std::vector<LaboratoryResult> run_trials(const Trials& trials, const Chooses& chooses) {
    const auto original = decode_raw(trials.original.bytes).value();
    const DamageSource source{trials.original, trials.other, trials.foreign};
    std::vector<LaboratoryResult> results;
    LaboratoryBatch batch(trials.extension);
    batch.add_sample(trials.sample.bytes);
    std::map<std::string, const VerdictDamage*> together;
    unsigned nth = 0;
    for (const VerdictDamage& damage : verdict_damages()) {
        VerdictDamage::Random random(1000 * trials.seed + ++nth);
        if (chooses && !chooses(damage)) {
            continue;
        }
        const Bytes bytes = damage.apply(source, random);
        if (!damage.apply_to_sample) {
            together.emplace(batch.add_damaged(bytes), &damage);
            continue;
        }
        LaboratoryBatch own(trials.extension);
        own.add_sample(damage.apply_to_sample(trials.sample, random));
        if (damage.with_sibling) {
            own.add_sample(trials.other.bytes);
        }
        take_results(own, {{own.add_damaged(bytes), &damage}}, original, results);
    }
    if (!batch.empty()) {
        take_results(batch, together, original, results);
    }
    return results;
}

/// The sensor's light goes round with the seed, and with the camera.
Mood mood_of(const LaboratoryCamera& camera, unsigned seed) {
    const auto& all = laboratory_cameras();
    const auto place = static_cast<unsigned>(&camera - all.data());
    return static_cast<Mood>((seed + 2 * place) % 6);
}

std::string lower_case(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return text;
}

Shot shot_of(Bytes bytes) {
    const RawLayout layout = read_raw_layout(bytes);
    const std::size_t begin = layout.image_begin();
    const std::size_t end = layout.image_end();
    return {std::move(bytes), begin, end};
}

} // namespace

const std::vector<LaboratoryCamera>& laboratory_cameras() {
    using Kind = HeadlessPhoto::Kind;
    static const std::vector<LaboratoryCamera> all{
        {"arw", "arw", image_last(&ArwPhoto::Options::maker_notes, &ArwPhoto::image_offset)},
        {"arw, cells", "arw", headless(Kind::kSonyCells)},
        {"arw, differences", "arw", headless(Kind::kSonyDifferences)},
        {"sr2", "sr2", sr2_shot},
        {"raf", "raf", image_last(&RafPhoto::Options::maker_notes, &RafPhoto::image_offset)},
        {"orf", "orf", orf_shot},
        {"orf, coded", "orf", headless(Kind::kOlympus)},
        {"dng", "dng", dng_shot},
        {"cr2", "cr2", image_last(&Cr2Photo::Options::maker_notes, &Cr2Photo::raw_offset)},
        {"nef", "nef", image_last(&NefPhoto::Options::maker_notes, &NefPhoto::raw_offset)},
        {"nef, coded", "nef", headless(Kind::kNikonLossless14)},
        {"cr3", "cr3", cr3_shot}};
    return all;
}

bool LaboratoryResult::called_whole() const {
    return is_called_whole(record);
}

bool LaboratoryResult::false_whole() const {
    return called_whole() && distance.breaks_promise();
}

bool LaboratoryResult::too_strict() const {
    const auto* taken = record.taken();
    const bool doubted = taken != nullptr && taken->image && taken->image->pixels_doubtful != 0;
    return distance.same && !called_whole() && !is_guess(record) && !doubted && !ambiguous;
}

std::optional<double> LaboratoryResult::promised() const {
    return promised_share(record);
}

double LaboratoryResult::true_share() const {
    return counts_pixels(record) ? distance.pixels_same : distance.rows_same;
}

bool LaboratoryResult::too_rosy() const {
    return promised().value_or(0) > true_share() + 0.02;
}

char LaboratoryResult::letter() const {
    if (false_whole() || too_strict() || too_rosy()) {
        return false_whole() ? 'F' : too_strict() ? 'S' : 'R';
    }
    switch (record.verdict) {
    case Verdict::kWhole:
    case Verdict::kIntact:
        return distance.same ? 'W' : 'w';
    case Verdict::kPartial:
        return promised() ? 'P' : 'p';
    case Verdict::kPreviewOnly:
        return 'J';
    default:
        return 'N';
    }
}

std::vector<LaboratoryResult> run_laboratory(const LaboratoryCamera& camera, unsigned seed,
                                             const Chooses& chooses) {
    const auto shoot = [&](unsigned nth) {
        return camera.shoot(number_of(mood_of(camera, seed), 10 * seed + nth));
    };
    return run_trials({camera.extension, shoot(1), shoot(2), shoot(3), stranger_to(camera), seed}, chooses);
}

std::vector<RealShots> real_shots() {
    std::vector<RealShots> all;
    const auto folder = real_folder();
    if (!folder) {
        return all;
    }
    const std::array<std::array<const char*, 2>, 3> pairs = {
        {{"pairs/canon-30d/IMG_5952.CR2", "pairs/canon-30d/IMG_0848.CR2"},
         {"pairs/nikon-d5000-dng/sample1.dng", "pairs/nikon-d5000-dng/sample2.dng"},
         {"pairs/picamera-rig/image_0.dng", "pairs/picamera-rig/image_3.dng"}}};
    for (const auto& [one, other] : pairs) {
        const std::string name = one;
        all.push_back({name.substr(name.find('/') + 1), lower_case(name.substr(name.size() - 3)),
                       shot_of(read_file(*folder / one)), shot_of(read_file(*folder / other))});
    }
    return all;
}

std::vector<LaboratoryResult> run_laboratory(const RealShots& shots, unsigned seed, const Chooses& chooses) {
    const Bytes foreign = ArwPhoto({.number = 77, .width = 320, .height = 240}).bytes;
    return run_trials({shots.extension, shots.sample, shots.original, shots.sample, foreign, seed}, chooses);
}

} // namespace test
