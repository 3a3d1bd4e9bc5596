#include "mend/StreamEncoding.h"

#include <algorithm>

namespace raw_mend {

std::vector<unsigned char> encode_values(const lossless_jpeg::Head& head, Bytes stream,
                                         const StreamPlace& place, std::span<std::uint16_t> values) {
    const StreamFrame frame(head);
    const auto kept = stream.first(static_cast<std::size_t>(place.place.byte));
    lossless_jpeg::DifferenceWriter writer(head);
    writer.begin({kept.begin(), kept.end()}, place.place.bit == 0 ? 0 : stream[kept.size()], place.place.bit);
    const int most = static_cast<int>(frame.limit) - 1;
    for (std::size_t at = place.value; at < values.size(); ++at) {
        values[at] = static_cast<std::uint16_t>(
            most > INT16_MAX ? values[at] : std::clamp<int>(static_cast<std::int16_t>(values[at]), 0, most));
        const int predicted = frame.predict(values, at);
        const int difference = static_cast<std::int16_t>(static_cast<std::uint16_t>(values[at] - predicted));
        const int written = writer.put(at % frame.row % frame.components, difference);
        values[at] = static_cast<std::uint16_t>(predicted + written);
    }
    return writer.finish();
}

} // namespace raw_mend
