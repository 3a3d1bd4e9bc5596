#pragma once

#include "facts/SampleFacts.h"

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace plate_mend::host {

/// What runs into one folder of results know about samples, in `samples.jsonl` of each run's folder: a line
/// per sample, and at last a line with the SHA-256 sum of all others. A file that is damaged, or that another
/// version wrote, is ignored.
class SampleCache {
  public:
    /// What this run knows, and those that have their folders beside it. Without a folder, nothing is known.
    explicit SampleCache(std::filesystem::path folder);

    /// Completes path and stamp of a sample by what is known about the rest: false if nothing is, or if its
    /// size or time has changed. What other runs know is read only when it is needed.
    [[nodiscard]] bool complete(SampleFacts& sample);

    /// Writes what this run now knows, in one step. A cache that cannot be written is none.
    void save(const std::vector<SampleFacts>& samples) const;

  private:
    void load_next();

    std::filesystem::path folder_;                  ///< Empty: nowhere.
    std::vector<std::filesystem::path> unread_;     ///< Files of runs, this one's last.
    std::multimap<std::string, SampleFacts> known_; ///< By name keys.
};

} // namespace plate_mend::host
