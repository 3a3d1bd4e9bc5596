#pragma once

#include "facts/Remains.h"
#include "facts/SampleFacts.h"
#include "repair/SampleCache.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <vector>

namespace plate_mend::host {

/// An intact photograph whose structure a repair may use, and why it has its rank.
struct RankedSample {
    std::filesystem::path path;
    std::string why; ///< "same camera (NIKON D1), same picture sizes, length within 2 %", for reports.
};

/// What fits a damaged file.
struct SampleMatch {
    std::vector<RankedSample> ranked; ///< As Samples::ranked_for returns them.
    std::set<std::string> cameras;    ///< That the file names.
};

/// Is called before each sample is read, and after the last one: how many are done, of how many.
using SampleListener = std::function<void(std::size_t done, std::size_t total)>;

/// The intact photographs of a batch.
class Samples {
  public:
    /// Reads the heads of the files that the cache does not know, and completes the cache. Throws
    /// Interrupted, and what the listener throws.
    Samples(const std::vector<std::filesystem::path>& files, SampleCache cache,
            const SampleListener& listener);

    /// The samples for a damaged file of a kind, as kind_of returns it, the likeliest first: those of the
    /// camera that it names in any way, then those of which that is not known, then those of others. Among
    /// these, those of its kind first, and then by what survives of it: maker, picture sizes, byte order,
    /// bits and compression, tables of previews, firmware; by its length, name and date. Samples of other
    /// kinds that share neither camera nor picture size are left out, unless there are no others. Never the
    /// damaged file itself. Only the copy is read, not the damaged file. Throws Interrupted.
    [[nodiscard]] std::vector<RankedSample> ranked_for(const std::filesystem::path& damaged,
                                                       const std::string& kind,
                                                       const std::filesystem::path& copy) const;

    /// The same, and what it is ranked by; the copy is read even if there is only one sample.
    [[nodiscard]] SampleMatch match(const std::filesystem::path& damaged, const std::string& kind,
                                    const std::filesystem::path& copy) const;

    /// What is known about each, in the order in which they were given.
    [[nodiscard]] const std::vector<SampleFacts>& facts() const { return samples_; }

    /// The length of the longest sample of a kind, in bytes; of all samples where none is.
    [[nodiscard]] std::uint64_t longest_for(const std::string& kind) const;

  private:
    void learn_texts();
    [[nodiscard]] std::vector<const SampleFacts*> others_than(const std::filesystem::path& damaged) const;

    std::vector<SampleFacts> samples_;
    KnownTexts texts_;             ///< What samples are called by, to be searched for in damaged files.
    std::set<std::string> models_; ///< Those of the texts that are cameras.
};

} // namespace plate_mend::host
