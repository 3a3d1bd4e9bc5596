#include "coding/HeadStructure.h"

namespace raw_mend {

namespace {

constexpr unsigned char kDht = 0xC4;

} // namespace

HeadStructure::HeadStructure(const lossless_jpeg::Head& head)
    : precision(head.precision), width(head.width), height(head.height),
      restart_interval(head.restart_interval), point_transform(head.point_transform) {
    for (const auto& segment : head.segments) {
        segments.push_back({segment.code, segment.code == kDht ? 0 : segment.length});
    }
    for (const auto& component : head.components) {
        components.push_back({component.id, component.horizontal, component.vertical});
    }
}

} // namespace raw_mend
