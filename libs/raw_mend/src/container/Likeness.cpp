#include "container/Likeness.h"

#include "container/TiffTags.h"
#include "container/TiffTree.h"

#include <algorithm>
#include <array>
#include <string>
#include <tuple>
#include <vector>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMostValueBytes = 256; // Of each entry; none that matters is longer.

/// How much of an entry must be the same.
enum class Compared {
    kPresence, ///< Only that there is one, of the same type, whose values are in the file.
    kCount,    ///< The number of values too.
    kValues,
};

struct ComparedTag {
    std::uint16_t tag;
    Compared compared;
};

/// TIFF 6.0, TIFF/EP, DNG and CR2, by number.
constexpr std::array kComparedTags{
    ComparedTag{tag::kNewSubFileType, Compared::kValues},
    ComparedTag{tag::kImageWidth, Compared::kValues},
    ComparedTag{tag::kImageLength, Compared::kValues},
    ComparedTag{tag::kBitsPerSample, Compared::kValues},
    ComparedTag{tag::kCompression, Compared::kValues},
    ComparedTag{tag::kPhotometric, Compared::kValues},
    ComparedTag{tag::kFillOrder, Compared::kValues},
    ComparedTag{tag::kMake, Compared::kValues},
    ComparedTag{tag::kModel, Compared::kValues},
    ComparedTag{tag::kStripOffsets, Compared::kCount},
    ComparedTag{tag::kSamplesPerPixel, Compared::kValues},
    ComparedTag{tag::kRowsPerStrip, Compared::kValues},
    ComparedTag{tag::kStripByteCounts, Compared::kCount},
    ComparedTag{tag::kPlanarConfiguration, Compared::kValues},
    ComparedTag{tag::kPredictor, Compared::kValues},
    ComparedTag{tag::kTileWidth, Compared::kValues},
    ComparedTag{tag::kTileLength, Compared::kValues},
    ComparedTag{tag::kTileOffsets, Compared::kCount},
    ComparedTag{tag::kTileByteCounts, Compared::kCount},
    ComparedTag{tag::kSubIfds, Compared::kCount},
    ComparedTag{tag::kSampleFormat, Compared::kValues},
    ComparedTag{tag::kJpegOffset, Compared::kCount},
    ComparedTag{tag::kJpegLength, Compared::kCount},
    ComparedTag{tag::kCfaRepeatPattern, Compared::kValues},
    ComparedTag{tag::kCfaPattern, Compared::kValues},
    ComparedTag{tag::kExifIfd, Compared::kCount},
    ComparedTag{tag::kMakerNote, Compared::kPresence},
    ComparedTag{tag::kDngVersion, Compared::kValues},
    ComparedTag{tag::kDngBackwardVersion, Compared::kValues},
    ComparedTag{tag::kUniqueCameraModel, Compared::kValues},
    ComparedTag{tag::kCfaPlaneColor, Compared::kValues},
    ComparedTag{tag::kCfaLayout, Compared::kValues},
    ComparedTag{tag::kLinearizationTable, Compared::kCount},
    ComparedTag{tag::kPrivateData, Compared::kPresence},
    ComparedTag{tag::kSlices, Compared::kValues},
};
static_assert(std::ranges::is_sorted(kComparedTags, {}, &ComparedTag::tag));

/// What is compared of one entry.
struct Trait {
    TiffNode::Role role;
    std::uint16_t tag;
    std::uint16_t type;
    bool is_inside;
    std::uint32_t count;
    std::vector<unsigned char> values;

    bool operator==(const Trait&) const = default;
};

/// The traits of all directories that hold images, and of the number of others that lead to notes.
class Traits {
  public:
    Traits(Bytes file, const TiffHeader& header)
        : inventory_(file), reader_(inventory_, header.order, header.at),
          start_(header.kind, header.order, header.raw_directory.has_value()) {
        for (const TiffNode& node : read_tiff_tree(reader_, header)) {
            if (node.role != TiffNode::Role::kOther) {
                add(node);
            }
        }
    }

    [[nodiscard]] bool are_those_of(const Traits& other) const {
        return start_ == other.start_ && roles_ == other.roles_ && traits_ == other.traits_;
    }

  private:
    void add(const TiffNode& node) {
        roles_.push_back(node.role);
        for (const TiffEntry& entry : node.directory.entries) {
            const auto* const found =
                std::ranges::lower_bound(kComparedTags, entry.tag, {}, &ComparedTag::tag);
            if (found != kComparedTags.end() && found->tag == entry.tag) {
                add(node.role, entry, found->compared);
            }
        }
    }

    void add(TiffNode::Role role, const TiffEntry& entry, Compared compared) {
        Trait trait{role, entry.tag, entry.type, entry.is_inside, 0, {}};
        if (compared != Compared::kPresence) {
            trait.count = entry.count;
        }
        if (compared == Compared::kValues && entry.is_inside) {
            const Extent values{entry.values, std::min(kMostValueBytes, entry.length)};
            const Bytes bytes = values.of(inventory_.bytes());
            trait.values.assign(bytes.begin(), bytes.end());
        }
        traits_.push_back(std::move(trait));
    }

    Inventory inventory_;
    TiffReader reader_;
    std::tuple<TiffHeader::Kind, ByteOrder, bool> start_;
    std::vector<TiffNode::Role> roles_;
    std::vector<Trait> traits_;
};

} // namespace

bool are_read_alike(Bytes one, Bytes other) {
    const auto header = read_tiff_header(one, 0);
    const auto other_header = read_tiff_header(other, 0);
    if (!header || !other_header) {
        return !header;
    }
    return Traits(one, *header).are_those_of(Traits(other, *other_header));
}

} // namespace raw_mend
