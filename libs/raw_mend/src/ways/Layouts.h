#pragma once

#include "ways/Sample.h"

#include <vector>

namespace raw_mend {

/// Where the pieces of a damaged file's raw image may be.
struct Layout {
    /// What speaks for a layout, the strongest first.
    enum class Reason {
        kTables,     ///< The damaged file's own tables, completed with the sample's where they are lost.
        kStructure,  ///< The sample's places, displaced as surviving structure is.
        kFillerEnd,  ///< The image follows filler directly.
        kEndOfFile,  ///< As far before the end of the file as in the sample.
        kSampleStart ///< At the sample's offset.
    };
    Reason reason = Reason::kSampleStart;
    std::vector<Extent> pieces; ///< Of the sample's raw image, in its order; all are within the file.
};

/// The layouts that the sample's places and lengths leave possible, strongest reasons first, each once. None
/// is checked. Takes linear time.
[[nodiscard]] std::vector<Layout> find_layouts(Bytes damaged, const Sample& sample);

} // namespace raw_mend
