#pragma once

#include "support/Bytes.h"

#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>

namespace test::oracle {

/// The outcome of a DNG repair.
struct DngOutcome {
    std::int32_t code = 0;
    std::string reason;                ///< In the last log line; empty for code 0.
    std::optional<Bytes> output;       ///< None if the repair writes none.
    std::optional<Bytes> working_copy; ///< None after a success.

    bool operator==(const DngOutcome&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const DngOutcome& outcome);

/// The DNG repair step by step on bytes in memory, with nothing cached and nothing deferred: every search
/// reads the bytes again, and every list is read as soon as it is found.
[[nodiscard]] DngOutcome dng_outcome(const Bytes& sample, const Bytes& damaged);

} // namespace test::oracle
