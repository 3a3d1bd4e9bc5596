#include "mend/StreamChain.h"

#include "locate/Sectors.h"
#include "mend/RowImage.h"

#include <algorithm>

namespace raw_mend {

namespace {

/// Runs of one value of a cluster or more, after which the stream goes on. Rows of one brightness have
/// shorter ones.
std::vector<ImageRange> find_filler(Bytes bytes) {
    std::vector<ImageRange> runs = find_filler_runs(bytes);
    std::erase_if(runs, [&](const ImageRange& run) {
        return run.length() < kClusterBytes || run.end + kClusterBytes > bytes.size();
    });
    return runs;
}

} // namespace

std::uint64_t StreamChain::byte_of(std::size_t at) const {
    return bytes.empty() ? 0 : bytes[std::min(at / kStride, bytes.size() - 1)];
}

StreamChain decode_chain(const StreamWalk& walk, const StreamPlace& from, std::uint64_t end) {
    const Bytes bytes = walk.bytes().bytes().first(static_cast<std::size_t>(end));
    const std::size_t components = walk.frame().components;
    const std::size_t most = 2 * walk.frame().count();
    StreamChain chain;
    chain.first = from.value;
    lossless_jpeg::BitPlace place = from.place;
    const std::vector<ImageRange> filler = find_filler(bytes);
    while (chain.size() < most && place.byte < end) {
        const auto next = std::ranges::upper_bound(filler, place.byte, {}, &ImageRange::end);
        const std::uint64_t limit = next == filler.end() ? end : next->begin;
        if (place.byte >= limit) {
            place = {next->end, 0};
            continue;
        }
        lossless_jpeg::DifferenceReader reader(bytes.first(static_cast<std::size_t>(limit)), walk.tables(),
                                               place);
        lossless_jpeg::BitPlace last = place;
        std::uint16_t difference = 0;
        while (chain.size() < most && reader.take((from.value + chain.size()) % components, difference)) {
            if (chain.size() % StreamChain::kStride == 0) {
                chain.bytes.push_back(last.byte);
            }
            chain.differences.push_back(difference);
            last = reader.place();
        }
        lossless_jpeg::DifferenceReader at_last(bytes, walk.tables(), last);
        if (at_last.closes() && at_last.stop() + 2 >= end) {
            chain.is_closed = true;
            break;
        }
        place = {std::max(last.byte, place.byte) + 1, 0};
    }
    return chain;
}

} // namespace raw_mend
