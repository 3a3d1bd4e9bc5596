#pragma once

#include "repair/FileFacts.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// A whole photograph that may lend its structure, and why it stands where it does.
struct Candidate {
    std::filesystem::path path;
    std::string why; ///< "same picture sizes, same byte order, size within 2 %", for reports.
};

/// The whole photographs of a batch.
class Samples {
  public:
    /// Looks at each file once. Throws Interrupted.
    explicit Samples(const std::vector<std::filesystem::path>& files);

    /// The candidates of the damaged file's format, the likeliest first: those that share picture sizes with
    /// what is alive of it and have its byte order, then those of about its size, of a name and a date near
    /// to its own. Never the damaged file itself. What is alive is looked for in the copy: the damaged file
    /// is not read.
    [[nodiscard]] std::vector<Candidate> ranked_for(const std::filesystem::path& damaged,
                                                    const std::filesystem::path& copy) const;

    /// The length of the longest sample of the damaged file's format, in bytes; of all samples where none is.
    [[nodiscard]] std::uint64_t longest_for(const std::filesystem::path& damaged) const;

  private:
    std::vector<FileFacts> facts_;
};

} // namespace plate_mend::host
