#pragma once

#include "record/Record.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// Wording that all reports for people share.

namespace plate_mend::host {

/// How many files have each verdict.
class Counts {
  public:
    void add(Verdict verdict);
    [[nodiscard]] std::uint64_t of(Verdict verdict) const;
    [[nodiscard]] std::uint64_t total() const;

  private:
    std::array<std::uint64_t, kVerdicts.size()> counts_{};
};

/// "212 whole, 9 partly there, 3 preview only, 4 lost"; verdicts with no files are left out. "no files" when
/// there are none at all.
[[nodiscard]] std::string describe(const Counts& counts);

/// "whole", "intact already", "partly there", "preview only", "lost", "not done".
[[nodiscard]] const char* describe(Verdict verdict);

/// Why an attempt was not chosen: the text of its code, its problem, or what its result lacks.
[[nodiscard]] std::string describe_refusal(const Attempt& attempt);

/// The same for all attempts with the last sample; empty where nothing was tried.
[[nodiscard]] std::string describe_refusal(const Record& record);

/// "image found by how its rows fit one another, 66 of 67 pieces, 60 proved, 2 put together anew".
[[nodiscard]] std::string describe(const FoundImage& image);

/// Of all spans together.
[[nodiscard]] std::uint64_t unreadable_bytes(const std::vector<UnreadableSpan>& unreadable);

/// "8.2 kB of it cannot be read (3 places)"; empty where all of the damaged file was read.
[[nodiscard]] std::string describe_unreadable(const std::vector<UnreadableSpan>& unreadable);

} // namespace plate_mend::host
