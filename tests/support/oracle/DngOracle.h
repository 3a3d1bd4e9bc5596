#pragma once

#include "support/Bytes.h"

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace test::oracle {

/// What a DNG repair leaves behind.
struct DngOutcome {
    std::int32_t code = 0;
    std::string reason;          ///< In the last log line; empty for code 0.
    std::optional<Bytes> output; ///< Nothing when there is none.
    std::optional<Bytes> clone;  ///< The working copy; nothing after a success.

    bool operator==(const DngOutcome&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const DngOutcome& outcome);

/// The DNG repair step by step on bytes in memory, with nothing remembered and nothing put off: every search
/// goes over the bytes again, and every list is read where it is met.
[[nodiscard]] DngOutcome dng_outcome(const Bytes& sample, const Bytes& damaged);

} // namespace test::oracle
