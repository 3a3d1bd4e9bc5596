#include "coding/HeadStructure.h"

#include <lossless_jpeg/Markers.h>

namespace raw_mend {

HeadStructure::HeadStructure(const lossless_jpeg::Head& head)
    : numbers_{head.precision,        head.width,           head.height,
               head.restart_interval, head.point_transform, static_cast<unsigned>(head.components.size())} {
    for (const auto& component : head.components) {
        numbers_.insert(numbers_.end(), {component.id, component.horizontal, component.vertical});
    }
    for (const auto& segment : head.segments) {
        numbers_.insert(numbers_.end(),
                        {segment.code, segment.code == lossless_jpeg::kDht ? 0 : segment.length});
    }
}

} // namespace raw_mend
