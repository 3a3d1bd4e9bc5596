#pragma once

#include "record/Record.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

// What reports for people say in the same words.

namespace plate_mend::host {

/// How many files came to each verdict.
class Counts {
  public:
    void add(Verdict verdict);
    [[nodiscard]] std::uint64_t of(Verdict verdict) const;
    [[nodiscard]] std::uint64_t total() const;

  private:
    std::array<std::uint64_t, kVerdicts.size()> counts_{};
};

/// "212 whole, 9 partly there, 3 preview only, 4 lost"; verdicts that never came are left out. "no files"
/// when there are none.
[[nodiscard]] std::string in_words(const Counts& counts);

/// "whole", "intact already", "partly there", "preview only", "lost", "not done".
[[nodiscard]] const char* in_words(Verdict verdict);

/// Why an attempt was not taken. The text of its code, its problem, or what its result lacks.
[[nodiscard]] std::string reason_refused(const Attempt& attempt);

/// What was done to a salvaged JPEG: the bits of StillMendReport.warnings, one line each.
[[nodiscard]] std::vector<std::string> salvage_warnings(std::uint32_t warnings);

/// "8.2 kB of it cannot be read (3 places)"; empty where all of the damaged file was read.
[[nodiscard]] std::string unreadable_in_words(const std::vector<UnreadableSpan>& unreadable);

/// "1 byte", "2 bytes", "0 bytes": a number with its noun, whose plural ends in s.
[[nodiscard]] std::string counted(std::uint64_t count, const std::string& noun);

/// "24.5 MB", in powers of 1000; "812 bytes" below 1000.
[[nodiscard]] std::string size_in_words(std::uint64_t bytes);

/// A share of 0 to 1 as "98.7 %". Only a full share is "100 %", only none at all is "0 %".
[[nodiscard]] std::string share_in_words(double share);

/// "a; b; c".
[[nodiscard]] std::string joined(const std::vector<std::string>& parts);

} // namespace plate_mend::host
