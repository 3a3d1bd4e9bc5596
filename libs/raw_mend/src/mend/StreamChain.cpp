#include "mend/StreamChain.h"

#include <algorithm>

namespace raw_mend {

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
    while (chain.size() < most) {
        lossless_jpeg::DifferenceReader reader(bytes, walk.tables(), place);
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
        if (place.byte >= end) {
            break;
        }
    }
    return chain;
}

} // namespace raw_mend
