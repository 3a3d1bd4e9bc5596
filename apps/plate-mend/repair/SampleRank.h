#pragma once

#include "facts/Remains.h"
#include "facts/SampleFacts.h"

#include <cstdint>
#include <filesystem>
#include <set>
#include <string>

namespace plate_mend::host {

/// A damaged file, as far as the choice of its sample needs it.
struct DamagedFacts {
    std::filesystem::path path;
    std::string kind; ///< As kind_of returns it.
    std::uint64_t size = 0;
    std::int64_t modified = 0;     ///< In nanoseconds since 1970.
    std::set<std::string> cameras; ///< Models that it names, by its own head or by any trace in it.
    Remains remains;
};

/// How well a sample fits a damaged file. A greater rank is a better one.
struct SampleRank {
    enum class Camera {
        kOther,   ///< The damaged file names another camera.
        kUnknown, ///< One of the two names none.
        kSame,
    };

    Camera camera = Camera::kUnknown;
    bool same_kind = false;
    double points = 0;
    bool same_sizes = false; ///< They have a picture of the same size.
    std::string why; ///< "same camera (NIKON D1), same picture sizes, length within 2 %", for reports.

    /// By camera, then by kind, then by points.
    [[nodiscard]] bool is_better_than(const SampleRank& other) const;
};

/// The rank of a sample for a damaged file.
[[nodiscard]] SampleRank rank_of(const DamagedFacts& damaged, const SampleFacts& sample);

} // namespace plate_mend::host
