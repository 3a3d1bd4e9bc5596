#pragma once

#include "support/Bytes.h"

#include <cstdint>
#include <optional>
#include <string>

namespace test {

/// What a DNG repair leaves behind.
struct DngOutcome {
    std::int32_t code = 0;
    std::string reason;          ///< In the last log line; empty for code 0.
    std::optional<Bytes> output; ///< Nothing when there is none.
    std::optional<Bytes> clone;  ///< The temporary file; nothing after a success.

    bool operator==(const DngOutcome&) const = default;
};

std::ostream& operator<<(std::ostream& stream, const DngOutcome& outcome);

/// The DNG repair step by step on bytes in memory, with nothing remembered and nothing put off: every search
/// goes over the bytes again, and every list is read where it is met. Both files must not be empty.
[[nodiscard]] DngOutcome straight_dng_repair(const Bytes& damaged, const Bytes& sample);

} // namespace test
