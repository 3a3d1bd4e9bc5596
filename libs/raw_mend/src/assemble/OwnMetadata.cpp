#include "assemble/OwnMetadata.h"

#include "container/Directories.h"
#include "container/TiffTags.h"

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <set>

namespace raw_mend {

namespace {

constexpr std::size_t kTableSector = 512;
constexpr std::size_t kMostKeys = 16;     // Directories that are searched for.
constexpr std::size_t kMostHits = 8;      // Of each.
constexpr std::size_t kMostCompared = 16; // That are compared.

/// Entries that say what an image is like, or where directories are. A table with others does not fit the
/// rest of the sample.
constexpr std::array<std::uint16_t, 22> kStructure{
    tag::kNewSubFileType,
    tag::kImageWidth,
    tag::kImageLength,
    tag::kBitsPerSample,
    tag::kCompression,
    tag::kPhotometric,
    tag::kSamplesPerPixel,
    tag::kRowsPerStrip,
    284, // PlanarConfiguration
    317, // Predictor
    tag::kTileWidth,
    tag::kTileLength,
    tag::kSubIfds,
    33421, // CFARepeatPatternDim
    33422, // CFAPattern
    tag::kExifIfd,
    tag::kGpsIfd,
    tag::kInteroperabilityIfd,
    50710, // CFAPlaneColor
    50711, // CFALayout
    tag::kPrivateData,
    tag::kSlices,
};

/// Entries that say where images are. The result has numbers of its own there.
constexpr std::array<std::uint16_t, 6> kPlaces{tag::kStripOffsets,   tag::kStripByteCounts, tag::kTileOffsets,
                                               tag::kTileByteCounts, tag::kJpegOffset,      tag::kJpegLength};

template <std::size_t kCount>
bool is_among(std::uint16_t tag, const std::array<std::uint16_t, kCount>& tags) {
    return std::ranges::find(tags, tag) != tags.end();
}

/// The tables of the sample, and bytes of the damaged file that may be the same tables of its photograph. The
/// displacement is counted modulo 2^64: it may be negative.
class Twin {
  public:
    Twin(Bytes damaged, Bytes sample, std::uint64_t displacement)
        : damaged_(damaged), sample_(sample), displacement_(displacement) {}

    /// The damaged file's own bytes; empty if they are not within the file.
    [[nodiscard]] Bytes own(const Extent& extent) const {
        const Extent moved{extent.offset + displacement_, extent.length};
        return moved.is_within(damaged_) ? moved.of(damaged_) : Bytes{};
    }

    [[nodiscard]] bool is_same(const Extent& extent) const {
        return extent.is_within(sample_) && std::ranges::equal(own(extent), extent.of(sample_));
    }

    [[nodiscard]] bool has(const TiffDirectory& directory) const {
        return directory.extent.is_within(sample_) && is_same({directory.extent.offset, 2}) &&
               is_same({directory.link(), 4}) &&
               std::ranges::all_of(directory.entries, [&](const TiffEntry& entry) { return has(entry); });
    }

    /// Whether a value is like the sample's, and no sector with bytes of it seems to be overwritten.
    [[nodiscard]] bool resembles(const Extent& extent) {
        const std::uint64_t first = (extent.offset + displacement_) / kTableSector;
        const std::uint64_t last = (extent.end() - 1 + displacement_) / kTableSector;
        for (std::uint64_t sector = first; sector <= last; ++sector) {
            const auto [known, is_new] = sectors_.try_emplace(sector, false);
            if (is_new) {
                known->second = seems_intact(sector);
            }
            if (!known->second) {
                return false;
            }
        }
        return shares_bytes(extent);
    }

  private:
    [[nodiscard]] bool has(const TiffEntry& entry) const {
        const bool is_fixed = !entry.is_inline || is_among(entry.tag, kStructure);
        return is_same({entry.at, is_fixed ? std::uint64_t{12} : std::uint64_t{8}});
    }

    /// Zeros in both files say nothing. Noise shares 1 of 256 bytes with the sample; a real camera's notes,
    /// 95 %, with sectors that share none among them. Short values may have nothing in common.
    [[nodiscard]] bool shares_bytes(const Extent& extent) const {
        constexpr std::uint64_t kShort = 64;
        constexpr std::uint64_t kLeastShare = 8; // One of so many.
        const Bytes ours = own(extent);
        const Bytes theirs = extent.of(sample_);
        std::uint64_t relevant = 0;
        std::uint64_t equal = 0;
        for (std::size_t at = 0; at < ours.size(); ++at) {
            const bool is_zero = ours[at] == 0 && theirs[at] == 0;
            relevant += is_zero ? 0U : 1U;
            equal += !is_zero && ours[at] == theirs[at] ? 1U : 0U;
        }
        return extent.length < kShort || equal * kLeastShare >= relevant;
    }

    /// Whether a sector of the damaged file is neither one value nor noise, or the sample's is so too.
    [[nodiscard]] bool seems_intact(std::uint64_t sector) const {
        constexpr std::size_t kNoise =
            190; // Different bytes of 512: 221 in noise, up to 131 in cameras' tables.
        const std::uint64_t begin = sector * kTableSector - displacement_;
        const Extent theirs{begin, kTableSector};
        if (!theirs.is_within(sample_)) {
            return true;
        }
        const std::size_t ours = count_different(own(theirs));
        const std::size_t sample = count_different(theirs.of(sample_));
        return (ours > 1 || sample == 1) && (ours < kNoise || sample >= kNoise);
    }

    static std::size_t count_different(Bytes bytes) {
        std::array<bool, 256> seen{};
        for (const unsigned char byte : bytes) {
            seen[byte] = true;
        }
        return static_cast<std::size_t>(std::ranges::count(seen, true));
    }

    Bytes damaged_;
    Bytes sample_;
    std::uint64_t displacement_;
    std::map<std::uint64_t, bool> sectors_;
};

/// Finds the metadata of one damaged file.
class MetadataSearch {
  public:
    MetadataSearch(Bytes damaged, Bytes sample, const Description& description, const Extent& image)
        : damaged_(damaged), sample_(sample), description_(description), image_(image),
          directories_(list_directories(sample)) {}

    OwnMetadata run() {
        std::size_t most = 0;
        std::optional<Twin> best;
        for (const std::uint64_t displacement : displacements()) {
            const Twin twin(damaged_, sample_, displacement);
            const auto count = static_cast<std::size_t>(std::ranges::count_if(
                directories_, [&](const TiffDirectory& directory) { return twin.has(directory); }));
            if (count > most) {
                most = count;
                best = twin;
            }
        }
        return best ? take_from(*best) : OwnMetadata{};
    }

  private:
    /// Between the same bytes of the damaged file and of the sample; the likeliest first: where the image is
    /// displaced by about as much.
    [[nodiscard]] std::vector<std::uint64_t> displacements() const {
        std::set<std::uint64_t> found;
        for (std::size_t nth = 0; nth < std::min(directories_.size(), kMostKeys); ++nth) {
            constexpr std::uint64_t kKey = 10; // The count, and an entry except its value.
            const Extent key{directories_[nth].extent.offset, kKey};
            if (key.is_within(sample_)) {
                search(key, {0, image_.offset}, found);
                search(key, {image_.end(), damaged_.size() - image_.end()}, found);
            }
        }
        const std::uint64_t expected = image_.offset - description_.raw.pieces.front().data.offset;
        std::vector<std::uint64_t> all(found.begin(), found.end());
        std::ranges::stable_sort(all, {}, [&](std::uint64_t displacement) {
            return std::min(displacement - expected, expected - displacement);
        });
        all.resize(std::min(all.size(), kMostCompared));
        return all;
    }

    void search(const Extent& key, const Extent& range, std::set<std::uint64_t>& found) const {
        const Bytes bytes = range.of(damaged_);
        const Bytes wanted = key.of(sample_);
        const std::boyer_moore_horspool_searcher searcher(wanted.begin(), wanted.end());
        auto from = bytes.begin();
        for (std::size_t hits = 0; hits < kMostHits; ++hits, ++from) {
            from = std::search(from, bytes.end(), searcher);
            if (from == bytes.end()) {
                return;
            }
            found.insert(range.offset + static_cast<std::uint64_t>(from - bytes.begin()) - key.offset);
        }
    }

    OwnMetadata take_from(Twin& twin) const {
        OwnMetadata result{{}, true};
        for (const TiffDirectory& directory : directories_) {
            if (!twin.has(directory)) {
                result.is_complete = false;
                continue;
            }
            take(directory.extent, twin, result);
            for (const TiffEntry& entry : directory.entries) {
                const bool is_metadata = !is_among(entry.tag, kPlaces) && !is_among(entry.tag, kStructure);
                const Extent values{entry.values, entry.length};
                if (entry.is_inline || !is_metadata || !entry.is_inside || twin.is_same(values)) {
                    continue;
                }
                if (twin.resembles(values) && has_same_fields(values, twin)) {
                    take(values, twin, result);
                } else {
                    result.is_complete = false;
                }
            }
        }
        drop_overlaps(result);
        return result;
    }

    static void take(const Extent& extent, const Twin& twin, OwnMetadata& result) {
        if (!twin.is_same(extent)) {
            result.tables.push_back({extent, twin.own(extent)});
        }
    }

    /// Whether the numbers in a value that say where pictures are belong to the same entries as the sample's.
    [[nodiscard]] bool has_same_fields(const Extent& values, const Twin& twin) const {
        const auto is_same = [&](const std::optional<NumberField>& field) {
            constexpr std::uint64_t kBeforeValue = 8; // Of an entry.
            return !field || field->at < values.offset + kBeforeValue || field->at >= values.end() ||
                   twin.is_same({field->at - kBeforeValue, kBeforeValue});
        };
        return std::ranges::all_of(description_.pictures, [&](const Image& picture) {
            return std::ranges::all_of(picture.pieces, [&](const Piece& piece) {
                return is_same(piece.offset_field) && is_same(piece.length_field);
            });
        });
    }

    /// Values of hostile samples share bytes.
    static void drop_overlaps(OwnMetadata& result) {
        std::ranges::stable_sort(result.tables, {},
                                 [](const Replacement& part) { return part.extent.offset; });
        std::uint64_t end = 0;
        const auto dropped = std::erase_if(result.tables, [&end](const Replacement& part) {
            const bool overlaps = part.extent.offset < end;
            end = overlaps ? end : part.extent.end();
            return overlaps;
        });
        result.is_complete = result.is_complete && dropped == 0;
    }

    Bytes damaged_;
    Bytes sample_;
    const Description& description_;
    Extent image_;
    std::vector<TiffDirectory> directories_;
};

} // namespace

OwnMetadata find_own_metadata(Bytes damaged, Bytes sample, const Description& description,
                              const Extent& image) {
    return MetadataSearch(damaged, sample, description, image).run();
}

} // namespace raw_mend
