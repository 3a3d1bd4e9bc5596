#pragma once

#include "repair/FileFacts.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// An intact photograph whose structure a repair may use, and why it has its rank.
struct RankedSample {
    std::filesystem::path path;
    std::string why; ///< "same picture sizes, same byte order, size within 2 %", for reports.
};

/// The intact photographs of a batch.
class Samples {
  public:
    /// Reads the beginning of each file once. Throws Interrupted.
    explicit Samples(const std::vector<std::filesystem::path>& files);

    /// The samples of a kind, as kind_of returns it, the likeliest first: those that share the damaged file's
    /// picture sizes and byte order, as far as these survive, then those of about its size, and with a
    /// similar name and date. Then, since an extension may be wrong, samples of other kinds: those that share
    /// its picture sizes, or all if there is none of its kind. Never the damaged file itself. Only the copy
    /// is read, not the damaged file.
    [[nodiscard]] std::vector<RankedSample> ranked_for(const std::filesystem::path& damaged,
                                                       const std::string& kind,
                                                       const std::filesystem::path& copy) const;

    /// The length of the longest sample of a kind, in bytes; of all samples where none is.
    [[nodiscard]] std::uint64_t longest_for(const std::string& kind) const;

  private:
    std::vector<FileFacts> facts_;
};

} // namespace plate_mend::host
