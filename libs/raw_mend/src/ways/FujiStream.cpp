#include "ways/FujiStream.h"

#include "coding/BlankData.h"
#include "coding/FujiHead.h"

#include <byte_reader/ByteReader.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace raw_mend {

namespace {

constexpr std::uint64_t kMostFujiPadding = 4096;
constexpr std::uint64_t kLeastFujiDistance = 65536;
constexpr std::uint64_t kFujiDistancePart = 8;

/// The compressed image of an intact photograph.
struct FujiSample {
    FujiHead head;
    std::uint64_t padding = 0; ///< After its last block, within the image.
    std::uint64_t after = 0;   ///< After the image, in the file.
    bool has_blank_part = false;
};

std::optional<FujiSample> read_fuji_image(Bytes file, const Image& image) {
    if (image.frame.coding != Coding::kFujiLossless || image.pieces.size() != 1) {
        return std::nullopt;
    }
    const Extent& data = image.pieces.front().data;
    auto head = data.is_within(file) ? read_fuji_head(file, data.offset) : std::nullopt;
    if (!head || head->end() > data.end() || data.end() - head->end() > kMostFujiPadding) {
        return std::nullopt;
    }
    const std::uint64_t padding = data.end() - head->end();
    return FujiSample{std::move(*head), padding, file.size() - data.end(), has_blank_part(data.of(file))};
}

/// A stream in a damaged file, and what can be said for it.
struct Stream {
    Extent data; ///< Up to the end of the file at most.
    bool in_file = false;
    bool ends = false; ///< At the file's end or where another RAF begins.
    bool is_broken = false;
    bool is_near = false;
    bool at_end = false;

    [[nodiscard]] auto rank() const { return std::tuple(in_file, ends, is_near, at_end); }
    [[nodiscard]] bool outdoes(const Stream& other) const {
        return is_near >= other.is_near && at_end >= other.at_end && rank() != other.rank();
    }
};

Stream read_stream(Bytes damaged, const FujiHead& head, const FujiSample& sample) {
    const byte_reader::ByteReader reader(damaged, std::endian::big);
    Stream stream{.data = {head.offset, head.end() - head.offset + sample.padding}};
    stream.in_file = stream.data.is_within(damaged);
    stream.data.length = std::min<std::uint64_t>(stream.data.length, damaged.size() - head.offset);
    stream.at_end = stream.in_file && stream.data.end() + sample.after == damaged.size();
    const bool meets_next =
        stream.in_file && reader.has(stream.data.end() + sample.after, "FUJIFILMCCD-RAW ");
    stream.ends = stream.at_end || meets_next;
    const auto [less, more] = std::minmax(head.offset, sample.head.offset);
    stream.is_near = more - less <= std::max(kLeastFujiDistance, sample.head.offset / kFujiDistancePart);
    return stream;
}

/// Streams with a blank part; and those among whose data another one begins: they are remains, and their end
/// is lost. Streams are by offset.
void mark_broken(Bytes damaged, const FujiSample& sample, std::vector<Stream>& streams) {
    for (auto stream = streams.begin(); stream != streams.end(); ++stream) {
        const bool overlapped = stream + 1 != streams.end() && stream->data.end() > (stream + 1)->data.offset;
        const bool blank = !overlapped && !sample.has_blank_part && has_blank_part(stream->data.of(damaged));
        stream->is_broken = overlapped || blank;
        stream->ends = stream->ends && !stream->is_broken;
    }
}

} // namespace

std::optional<FoundImage> find_fuji_stream(Bytes damaged, const Sample& sample) {
    const auto intact = read_fuji_image(sample.file, sample.description.raw);
    if (!intact) {
        return std::nullopt;
    }
    std::vector<Stream> streams;
    for (const FujiHead& head : find_fuji_heads(damaged, intact->head)) {
        streams.push_back(read_stream(damaged, head, *intact));
    }
    mark_broken(damaged, *intact, streams);
    const auto best = std::ranges::max_element(streams, {}, &Stream::rank);
    if (best == streams.end()) {
        return std::nullopt;
    }
    FoundImage image{Way::kCodedHeads, {best->data}, best->ends ? 1U : 0U, {}};
    for (auto other = streams.begin(); other != streams.end(); ++other) {
        if (other != best && other->in_file && !other->is_broken && !best->outdoes(*other)) {
            image.proved = 0;
            image.doubts.emplace_back(
                "The file has several raw images like the sample's; the one at offset " +
                std::to_string(best->data.offset) + " was chosen.");
            break;
        }
    }
    if (!best->in_file) {
        image.doubts.emplace_back("The raw image extends past the end of the file.");
    } else if (best->is_broken) {
        image.doubts.emplace_back("Parts of the raw image are damaged.");
    } else if (!best->ends) {
        image.doubts.emplace_back("Nothing confirms where the raw image ends.");
    }
    return image;
}

bool has_whole_fuji_stream(Bytes file, const Description& own, const Sample& sample) {
    const auto intact = read_fuji_image(sample.file, sample.description.raw);
    const auto found = read_fuji_image(file, own.raw);
    if (!intact || !found || !found->head.is_like(intact->head) || found->padding != intact->padding ||
        (found->has_blank_part && !intact->has_blank_part)) {
        return false;
    }
    // Where another one begins among the data, the end of this one is lost.
    return find_fuji_heads(own.raw.pieces.front().data.of(file), intact->head).size() == 1;
}

} // namespace raw_mend
