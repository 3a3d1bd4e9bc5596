#include "header/HeaderMarkers.h"

#include "Work.h"
#include "jpeg/MarkerSegments.h"
#include "jpeg/Markers.h"

#include <cstring>

namespace still_mend {

namespace {

constexpr std::size_t kMostReads = 16; // Reads of each byte, besides the search for FF.
constexpr std::size_t kMaxTableLength =
    std::size_t{4} * 2 * (17 + 256); // Eight Huffman tables in one segment.

bool may_follow_start(unsigned char code) {
    return marker::is_application(code) || marker::is_picture_frame(code) || code == marker::kCom ||
           code == marker::kDqt || code == marker::kDht || code == marker::kDri;
}

bool is_plausible(unsigned char code, Bytes content) {
    Tables tables;
    switch (code) {
    case marker::kDqt:
        return content.size() <= kMaxTableLength && read_quant_tables(content, tables);
    case marker::kDht:
        return content.size() <= kMaxTableLength && read_huffman_tables(content, tables);
    case marker::kDri:
        return content.size() == 2;
    case marker::kSos:
        return is_scan(content);
    default:
        return read_frame(code, content).has_value();
    }
}

bool is_segment_code(unsigned char code) {
    return marker::is_picture_frame(code) || code == marker::kDqt || code == marker::kDht ||
           code == marker::kDri || code == marker::kSos;
}

} // namespace

std::vector<HeaderMarker> find_header_markers(Bytes file) {
    Work::add(file.size());
    std::vector<HeaderMarker> found;
    std::size_t budget = kMostReads * file.size();
    std::size_t offset = 0;
    while (offset + 4 < file.size() && found.size() < kMaxHeaderMarkers) {
        const void* next = std::memchr(file.data() + offset, 0xFF, file.size() - offset - 4);
        if (next == nullptr) {
            break;
        }
        offset = static_cast<std::size_t>(static_cast<const unsigned char*>(next) - file.data());
        const unsigned char code = file[offset + 1];
        if (code == marker::kSoi) {
            if (file[offset + 2] == 0xFF && may_follow_start(file[offset + 3])) {
                found.push_back({offset, code});
            }
        } else if (is_segment_code(code)) {
            const auto content = segment_content(file, offset);
            // A check may read the whole content; what all checks read together is bounded.
            const std::size_t cost = content ? std::min(content->size(), kMaxTableLength) : 0;
            if (content && cost <= budget) {
                budget -= cost;
                Work::add(cost);
                if (is_plausible(code, *content)) {
                    found.push_back({offset, code});
                }
            }
        }
        ++offset;
    }
    return found;
}

} // namespace still_mend
