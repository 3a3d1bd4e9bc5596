#include "coding/Headless.h"

#include "container/TiffTags.h"

#include <utility>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMostColumns = 65535;

bool is_sensible(const Frame& frame) {
    return frame.samples == 1 && frame.width >= 2 && frame.height >= 2 && frame.width <= kMostColumns &&
           frame.height <= kMostColumns;
}

using ReadParameters = std::optional<HeadlessCoding>(Bytes parameters, ByteOrder order, const Frame& frame);

/// What the maker note keeps for the decoder has a byte order of its own, which the description does not
/// keep.
void add_by_parameters(Bytes file, const Image& image, ReadParameters& read,
                       std::vector<HeadlessCoding>& codings) {
    if (!image.parameters || !image.parameters->is_within(file)) {
        return;
    }
    for (const ByteOrder order : {image.frame.order, ByteOrder::kBig, ByteOrder::kLittle}) {
        if (auto coding = read(image.parameters->of(file), order, image.frame)) {
            codings.push_back(std::move(*coding));
        }
    }
}

} // namespace

std::optional<Extent> HeadlessCoding::decode_at(Bytes file, std::uint64_t offset) const {
    if (offset >= file.size()) {
        return std::nullopt;
    }
    const Trial trial = decode(file.subspan(static_cast<std::size_t>(offset)));
    return trial.values == values ? std::optional(Extent{offset, trial.bytes}) : std::nullopt;
}

std::vector<HeadlessCoding> headless_codings(Bytes file, const Image& image) {
    std::vector<HeadlessCoding> codings;
    const Frame& frame = image.frame;
    if (image.pieces.size() != 1 || !is_sensible(frame)) {
        return codings;
    }
    if (frame.coding == Coding::kHuffman) {
        add_by_parameters(file, image, nikon_coding, codings);
    } else if (frame.compression == compression::kOlympusOrPentax && frame.coding == Coding::kOther) {
        add_by_parameters(file, image, pentax_coding, codings);
    } else if (frame.coding == Coding::kRun) {
        codings.push_back(olympus_coding(frame.width, frame.height));
    } else if (frame.compression == compression::kSony && frame.coding == Coding::kOther) {
        constexpr std::uint64_t kUncounted = 8; // Rows that some cameras code besides.
        codings.push_back(sony_coding(frame.width, frame.height));
        codings.push_back(sony_coding(frame.width, frame.height + kUncounted));
    }
    return codings;
}

} // namespace raw_mend
