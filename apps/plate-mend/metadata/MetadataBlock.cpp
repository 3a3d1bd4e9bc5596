#include "metadata/MetadataBlock.h"

#include "metadata/ExifReader.h"
#include "metadata/MetadataPlaces.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <bit>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace plate_mend::host {

namespace {

using byte_reader::ByteReader;
using Span = std::span<const unsigned char>;

/// A block whose facts are not complete yet.
struct Structure {
    const char* source = "";
    std::uint64_t offset = 0;
    std::uint64_t end_of_box = 0; ///< 0: in no box.
    ExifContent content;
};

class BlockSearch {
  public:
    explicit BlockSearch(Span file) : file_(file, std::endian::big), reader_(file) {}

    /// Structures with headers, in their order.
    std::vector<Structure> headers(const MetadataPlaces& places) {
        std::vector<Structure> found;
        for (const std::uint64_t place : places.headers) {
            // What follows the directories in a box is left over from others.
            const bool is_left_over = !found.empty() && place < found.back().end_of_box;
            auto content = is_left_over ? std::nullopt : reader_.read_header(place);
            if (content) {
                add(structure_at(place, std::move(*content)), found);
            }
        }
        return found;
    }

    /// Directories with dates that no header leads to, and those that they lead to.
    std::vector<Structure> directories(const MetadataPlaces& places) {
        std::vector<Structure> found;
        for (std::size_t kind = 0; kind < kDateEntries.size(); ++kind) {
            for (const std::uint64_t place : places.dates[kind]) {
                auto content = reader_.has_read(place) ? std::nullopt
                                                       : reader_.read_around(place, kDateEntries[kind].order);
                if (content && content->all_facts().contains(CameraFact::kTaken)) {
                    found.push_back({"directory", place, 0, std::move(*content)});
                }
            }
        }
        return found;
    }

  private:
    /// CMT boxes side by side are one photograph's.
    static void add(Structure structure, std::vector<Structure>& found) {
        constexpr std::uint64_t kBoxHeader = 8;
        if (!found.empty() && found.back().end_of_box != 0 && structure.end_of_box != 0 &&
            found.back().end_of_box == structure.offset - kBoxHeader) {
            found.back().content.add(structure.content);
            found.back().end_of_box = structure.end_of_box;
        } else {
            found.push_back(std::move(structure));
        }
    }

    [[nodiscard]] Structure structure_at(std::uint64_t place, ExifContent content) const {
        if (const auto box = end_of_box(place)) {
            return {"boxes", place, *box, std::move(content)};
        }
        if (place < kExif.size() || !file_.has(place - kExif.size(), kExif)) {
            return {"head", place, 0, std::move(content)};
        }
        if (const auto jpeg = jpeg_around(place)) {
            content.jpegs.insert(content.jpegs.begin(), *jpeg);
        }
        return {"preview", place, 0, std::move(content)};
    }

    /// | size (4) | "CMT1" to "CMT4" | TIFF header ... |
    [[nodiscard]] std::optional<std::uint64_t> end_of_box(std::uint64_t place) const {
        constexpr std::uint64_t kHeader = 8;
        if (place < kHeader || !file_.has(place - 4, "CMT")) {
            return std::nullopt;
        }
        return place - kHeader + file_.u32(place - kHeader).value_or(0);
    }

    /// | FF D8 | JFIF (18), in some | FF E1 | length (2) | "Exif" 0 0 | TIFF header ... |
    [[nodiscard]] std::optional<std::uint64_t> jpeg_around(std::uint64_t place) const {
        constexpr std::string_view kStart = "\xFF\xD8\xFF";
        for (const std::uint64_t before : {12U, 30U}) {
            if (place >= before && file_.has(place - before, kStart)) {
                return place - before;
            }
        }
        return std::nullopt;
    }

    static constexpr std::string_view kExif{"Exif\0\0", 6};

    ByteReader file_;
    ExifReader reader_;
};

std::optional<MetadataBlock> block_from(Structure structure) {
    MetadataBlock block{.source = structure.source,
                        .offset = structure.offset,
                        .facts = structure.content.all_facts(),
                        .images = std::move(structure.content.images),
                        .has_raw_image = structure.content.has_raw_image,
                        .jpegs = std::move(structure.content.jpegs)};
    return block.facts.empty() ? std::nullopt : std::optional(std::move(block));
}

} // namespace

std::vector<MetadataBlock> find_metadata(Span file) {
    BlockSearch search(file);
    const MetadataPlaces places = find_metadata_places(file);
    std::vector<Structure> structures = search.headers(places);
    std::ranges::move(search.directories(places), std::back_inserter(structures));
    std::vector<MetadataBlock> blocks;
    for (Structure& structure : structures) {
        if (auto block = block_from(std::move(structure))) {
            blocks.push_back(std::move(*block));
        }
    }
    std::ranges::stable_sort(blocks, {}, &MetadataBlock::offset);
    return blocks;
}

CameraFacts main_facts(Span photograph) {
    constexpr std::size_t kBeginning = std::size_t{1} << 20U; // Boxes and the previews of RAF are there.
    const auto places = find_metadata_places(photograph.first(std::min(photograph.size(), kBeginning)));
    for (Structure& structure : BlockSearch(photograph).headers(places)) {
        if (auto block = block_from(std::move(structure))) {
            return std::move(block->facts);
        }
    }
    return {};
}

} // namespace plate_mend::host
