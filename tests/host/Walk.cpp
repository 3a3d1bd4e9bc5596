#include "host/Walk.h"

#include "host/Outcome.h"

#include "support/Jpeg.h"
#include "support/RawDecode.h"
#include "support/TempDir.h"
#include "support/Thinned.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <stdexcept>

namespace test {
namespace {

using plate_mend::host::Record;
using plate_mend::host::Verdict;

constexpr std::size_t kKiB = 1024;

Bytes behead(const Pair& pair) {
    return zeroed(pair.original, 0, pair.lost);
}

/// An offset in the image data, which are most of each file and come last in it.
std::size_t at(const Pair& pair, double share) {
    return static_cast<std::size_t>(share * static_cast<double>(pair.original.size()));
}

Harm harm(const std::string& name, std::function<Bytes(const Pair&)> apply, PairOptions pair = {}) {
    pair.large = true;
    return {name, pair, std::move(apply)};
}

Harm head_zeroed(std::size_t kib) {
    return harm("head zeroed, " + std::to_string(kib) + " KiB", [kib](const Pair& pair) {
        return zeroed(pair.original, 0, std::min(kib * kKiB, pair.original.size()));
    });
}

Harm cut(unsigned percent) {
    return harm("head zeroed, cut at " + std::to_string(percent) + " %",
                [percent](const Pair& pair) { return part(behead(pair), 0, at(pair, percent / 100.0)); });
}

Harm blocks(const std::string& name, std::size_t size, const std::vector<double>& places,
            const std::function<Bytes(std::size_t)>& content) {
    return harm("head zeroed, " + name, [=](const Pair& pair) {
        Bytes bytes = behead(pair);
        for (const double place : places) {
            put_bytes(bytes, at(pair, place), content(size));
        }
        return bytes;
    });
}

Bytes zeros(std::size_t size) {
    return Bytes(size);
}

Bytes ones(std::size_t size) {
    return Bytes(size, 0xFF);
}

Bytes random_bytes(std::size_t size) {
    return noise(size, 77);
}

Harm dropped(std::size_t count) {
    return harm("head zeroed, " + std::to_string(count) + " bytes dropped", [count](const Pair& pair) {
        const Bytes bytes = behead(pair);
        return joined(part(bytes, 0, at(pair, 0.7)), part(bytes, at(pair, 0.7) + count, bytes.size()));
    });
}

/// Clusters of a card that a recovery skipped.
Harm skipped(std::size_t kib, unsigned percent) {
    return harm("head zeroed, " + std::to_string(kib) + " KiB skipped at " + std::to_string(percent) + " %",
                [kib, percent](const Pair& pair) {
                    const Bytes bytes = behead(pair);
                    const std::size_t first = at(pair, percent / 100.0);
                    const std::size_t last = std::min(first + kib * kKiB, bytes.size());
                    return joined(part(bytes, 0, first), part(bytes, last, bytes.size()));
                });
}

Harm inserted(std::size_t count) {
    return harm("head zeroed, " + std::to_string(count) + " bytes inserted", [count](const Pair& pair) {
        const Bytes bytes = behead(pair);
        return joined(joined(part(bytes, 0, at(pair, 0.7)), noise(count, 5)),
                      part(bytes, at(pair, 0.7), bytes.size()));
    });
}

/// Clusters of a card within a photograph whose head is intact, and the bytes that take their places.
Harm clusters(const std::string& name, const std::vector<double>& places,
              const std::function<Bytes(std::size_t)>& content) {
    return harm(name, [=](const Pair& pair) {
        Bytes bytes = pair.original;
        for (const double place : places) {
            put_bytes(bytes, at(pair, place) / 512 * 512, content(4 * kKiB));
        }
        return bytes;
    });
}

/// What a torn file has between its two parts: bytes lost from it, or others put into it.
Harm torn(const std::string& name, std::size_t lost, const Bytes& put_in) {
    return harm(name, [=](const Pair& pair) {
        const std::size_t first = at(pair, 0.7) / 512 * 512;
        return joined(joined(part(pair.original, 0, first), put_in),
                      part(pair.original, first + lost, pair.original.size()));
    });
}

void add_clusters(std::vector<Harm>& all) {
    constexpr std::size_t kCluster = 4 * kKiB;
    all.push_back(torn("4 KiB lost", kCluster, {}));
    all.push_back(torn("4 KiB put in", 0, noise(kCluster, 5)));
    all.push_back(clusters("4 KiB zeroed", {0.7}, zeros));
    all.push_back(clusters("4 KiB overwritten", {0.7}, random_bytes));
    all.push_back(clusters("three times 4 KiB zeroed", {0.55, 0.7, 0.9}, zeros));
    all.push_back(harm("cut at 50 %",
                       [](const Pair& pair) { return part(pair.original, 0, at(pair, 0.5) / 512 * 512); }));
}

std::vector<Harm> make_harms() {
    std::vector<Harm> all{harm("none", [](const Pair& pair) { return pair.original; }),
                          harm("head zeroed", behead), harm("head random", [](const Pair& pair) {
                              Bytes bytes = pair.original;
                              put_bytes(bytes, 0, noise(pair.lost, 3));
                              return bytes;
                          })};
    for (const std::size_t kib : {1U, 4U, 12U, 64U, 150U}) {
        all.push_back(head_zeroed(kib));
    }
    for (const unsigned percent : {10U, 20U, 30U, 40U, 50U, 60U, 70U, 80U, 90U}) {
        all.push_back(cut(percent));
    }
    all.push_back(harm("head zeroed, zero tail", [](const Pair& pair) {
        return zeroed(behead(pair), at(pair, 0.85), pair.original.size());
    }));
    all.push_back(harm("displaced by garbage before it",
                       [](const Pair& pair) { return joined(noise(4096, 9), pair.original); }));
    all.push_back(harm("head zeroed, displaced by garbage before it",
                       [](const Pair& pair) { return joined(noise(4096, 9), behead(pair)); }));
    all.push_back(blocks("zero block, 512", 512, {0.7}, zeros));
    all.push_back(blocks("zero block, 4096", 4096, {0.7}, zeros));
    all.push_back(blocks("three zero blocks", 512, {0.55, 0.7, 0.9}, zeros));
    all.push_back(blocks("block of ones, 512", 512, {0.7}, ones));
    all.push_back(blocks("random block, 512", 512, {0.7}, random_bytes));
    all.push_back(blocks("random block, 4096", 4096, {0.7}, random_bytes));
    all.push_back(blocks("three random blocks", 512, {0.55, 0.7, 0.9}, random_bytes));
    for (const std::size_t count : {1U, 2U, 100U, 512U}) {
        all.push_back(dropped(count));
        all.push_back(inserted(count));
    }
    for (const unsigned percent : {40U, 70U}) {
        for (const std::size_t kib : {4U, 32U}) {
            all.push_back(skipped(kib, percent));
        }
    }
    add_clusters(all);
    all.push_back(harm("swapped byte order sample", behead, {.other_order = true}));
    all.push_back(harm("wrong camera's sample", behead, {.other_size = true}));
#if defined(PLATE_MEND_WALK_THROUGH_PREVIEWS)
    for (const Damage& damage : damages()) {
        all.push_back({"preview: " + damage.name, {}, {}, &damage});
    }
#endif
    return all;
}

double rows_in_common(const RawPicture& one, const RawPicture& other) {
    if (one.width != other.width || one.height != other.height ||
        one.samples.size() != other.samples.size()) {
        return 0;
    }
    const std::size_t stride = one.samples.size() / one.height;
    unsigned same = 0;
    for (unsigned y = 0; y < one.height; ++y) {
        const auto first = static_cast<std::ptrdiff_t>(y * stride);
        const auto last = first + static_cast<std::ptrdiff_t>(stride);
        same +=
            std::equal(one.samples.begin() + first, one.samples.begin() + last, other.samples.begin() + first)
                ? 1U
                : 0U;
    }
    return static_cast<double>(same) / one.height;
}

double pixels_in_common(const RawPicture& one, const RawPicture& other) {
    if (one.width != other.width || one.height != other.height ||
        one.samples.size() != other.samples.size()) {
        return 0;
    }
    const std::size_t pixels = std::size_t{one.width} * one.height;
    const std::size_t colours = one.samples.size() / pixels;
    std::size_t same = 0;
    for (std::size_t first = 0; first < one.samples.size(); first += colours) {
        same += std::equal(one.samples.data() + first, one.samples.data() + first + colours,
                           other.samples.data() + first)
                    ? 1U
                    : 0U;
    }
    return static_cast<double>(same) / static_cast<double>(pixels);
}

WalkResult compared(const std::string& format, const Harm& harm, const Record& record,
                    const RawPicture& original) {
    WalkResult result{format, harm.name, record};
    if (record.raw || record.verdict == Verdict::kIntact) { // What was left alone is the result.
        const auto& file = record.raw ? *record.raw : record.damaged;
        if (const auto picture = decode_raw(std::filesystem::path(file.path))) {
            result.rows_same = rows_in_common(*picture, original);
            result.pixels_same = pixels_in_common(*picture, original);
            result.same_picture = picture->samples == original.samples && picture->width == original.width;
        }
    }
    result.jpeg_decodes = record.jpeg && jpeg_decodes(read_file(record.jpeg->path));
    return result;
}

/// The container of the laboratory for a format.
const Container& container_of(const Format& format) {
    std::string name = format.extension;
    std::transform(name.begin(), name.end(), name.begin(), [](char letter) {
        return letter >= 'a' ? static_cast<char>(letter - 'a' + 'A') : letter;
    });
    return container_named(name == "RAW" ? "ARW" : name);
}

Bytes coded_preview() {
    return make_coded(coding_named("baseline 4:2:0, restarts"), 2, 320, 240);
}

/// A photograph whose preview is the laboratory's, and a sample of the same camera.
Pair pair_of_laboratory(const Format& format) {
    return {format.make({}).sample, container_of(format).build(coded_preview(), {}).file, 0};
}

Bytes harmed(const Harm& harm, const Format& format, const Pair& pair) {
    if (harm.preview == nullptr) {
        return harm.apply(pair);
    }
    const Bytes picture = coded_preview();
    Specimen specimen = container_of(format).build(picture, {});
    harm.preview->apply(specimen, dissect(picture));
    return specimen.file;
}

/// Files of harms that share a sample, repaired in one run.
std::vector<WalkResult> walk_some(const Format& format, const Pair& pair, const std::vector<Harm>& some) {
    const TempDir folder;
    const std::string extension = std::string(".") + format.extension;
    write_file(folder / ("sample" + extension), pair.sample);
    std::filesystem::create_directory(folder / "broken");
    std::map<std::string, const Harm*> by_name;
    for (std::size_t index = 0; index < some.size(); ++index) {
        const auto file = folder / "broken" / ("photo" + std::to_string(index) + extension);
        write_file(file, harmed(some[index], format, pair));
        by_name[utf8(file)] = &some[index];
    }
    const auto records = repair_all({"--sample", utf8(folder / ("sample" + extension)), "--out",
                                     utf8(folder / "out"), utf8(folder / "broken")},
                                    folder.path());
    const auto original = decode_raw(pair.original).value();
    std::vector<WalkResult> results;
    results.reserve(records.size());
    for (const Record& record : records) {
        results.push_back(compared(format.extension, *by_name.at(record.damaged.path), record, original));
    }
    if (results.size() != some.size()) {
        throw std::runtime_error("some files have no record");
    }
    return results;
}

bool alike(const PairOptions& one, const PairOptions& other) {
    return one.large == other.large && one.other_order == other.other_order &&
           one.other_size == other.other_size;
}

} // namespace

const std::vector<Harm>& harms() {
    static const std::vector<Harm> all = make_harms();
    return all;
}

bool WalkResult::called_whole() const {
    return is_called_whole(record);
}

bool WalkResult::false_whole() const {
    return called_whole() && !same_picture;
}

bool WalkResult::too_strict() const {
    return same_picture && !called_whole() && !is_guess(record);
}

std::optional<double> WalkResult::promised() const {
    return promised_share(record);
}

double WalkResult::true_share() const {
    return counts_pixels(record) ? pixels_same : rows_same;
}

bool WalkResult::too_rosy() const {
    return promised().value_or(0) > true_share() + (counts_pixels(record) ? 0.005 : 0.02);
}

std::vector<WalkResult> walk(const Format& format) {
    std::vector<WalkResult> results;
    for (const PairOptions& options :
         {PairOptions{.large = true}, PairOptions{.large = true, .other_order = true},
          PairOptions{.large = true, .other_size = true}}) {
        if ((options.other_order && !format.has_orders) || (options.other_size && !format.has_sizes)) {
            continue;
        }
        std::vector<Harm> some;
        std::copy_if(harms().begin(), harms().end(), std::back_inserter(some),
                     [&](const Harm& harm) { return harm.preview == nullptr && alike(harm.pair, options); });
        some = thinned(some);
        const auto more = walk_some(format, format.make(options), some);
        results.insert(results.end(), more.begin(), more.end());
    }
    std::vector<Harm> of_previews;
    std::copy_if(harms().begin(), harms().end(), std::back_inserter(of_previews),
                 [](const Harm& harm) { return harm.preview != nullptr; });
    if (!of_previews.empty()) {
        const auto more = walk_some(format, pair_of_laboratory(format), of_previews);
        results.insert(results.end(), more.begin(), more.end());
    }
    return results;
}

} // namespace test
