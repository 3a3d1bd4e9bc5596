#pragma once

#include <lossless_jpeg/Head.h>

#include <compare>
#include <cstdint>
#include <vector>

namespace raw_mend {

/// What the heads of one camera's lossless JPEGs have in common, whatever is photographed: the kinds and
/// lengths of their marker segments in order, and the frame. Huffman tables may differ, and so may the length
/// of a DHT.
struct HeadStructure {
    struct Segment {
        unsigned char code = 0;
        unsigned length = 0; ///< 0 for a DHT.

        auto operator<=>(const Segment&) const = default;
    };
    struct Component {
        unsigned char id = 0;
        unsigned horizontal = 0;
        unsigned vertical = 0;

        auto operator<=>(const Component&) const = default;
    };

    explicit HeadStructure(const lossless_jpeg::Head& head);

    std::vector<Segment> segments;
    unsigned precision = 0;
    unsigned width = 0;
    unsigned height = 0;
    unsigned restart_interval = 0;
    unsigned point_transform = 0;
    std::vector<Component> components;

    auto operator<=>(const HeadStructure&) const = default;
};

} // namespace raw_mend
