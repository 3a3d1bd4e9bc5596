#pragma once

#include "run/Forecast.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace plate_mend::host {

/// How much room a run needs on each disk, at most. This is an estimate: a result is as long as its damaged
/// file, or as its sample.
class RoomNeed {
  public:
    /// What a disk would have to hold.
    struct Disk {
        std::string text;            ///< "About 1.2 GB needed, at most, on the disk of mended, ...".
        bool has_too_little = false; ///< False where nobody knows how much is free.
    };

    /// Adds a file, for which a run would do what was foretold.
    void add(const PlannedFile& file, const Forecast& forecast);

    /// The disks with what is free on them now.
    ///
    ///   jobs  files that are repaired at a time
    [[nodiscard]] std::vector<Disk> disks(std::uint64_t jobs) const;

  private:
    struct Need {
        std::filesystem::path folder; ///< On the disk.
        std::uint64_t files = 0;
        std::uint64_t results = 0;
        std::uint64_t largest = 0; ///< Result.
    };
    [[nodiscard]] static Disk describe(const Need& need, std::uint64_t jobs);

    std::map<std::uint64_t, Need> needs_; ///< By volume.
};

} // namespace plate_mend::host
