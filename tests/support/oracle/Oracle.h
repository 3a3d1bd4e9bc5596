#pragma once

#include "support/Bytes.h"

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

// What an advanced repair must write, worked out from the bytes of both files alone by one plain
// reader per format. The readers share no code with the library.

namespace test::oracle {

/// The whole output of a repair, byte for byte; nothing where the repair must fail.
using Expected = std::optional<Bytes>;

[[nodiscard]] Expected repaired_arw(const Bytes& sample, const Bytes& damaged);
[[nodiscard]] Expected repaired_sr2(const Bytes& sample, const Bytes& damaged);
[[nodiscard]] Expected repaired_raf(const Bytes& sample, const Bytes& damaged);
[[nodiscard]] Expected repaired_orf(const Bytes& sample, const Bytes& damaged);
[[nodiscard]] Expected repaired_dng(const Bytes& sample, const Bytes& damaged);
[[nodiscard]] Expected repaired_cr2(const Bytes& sample, const Bytes& damaged);
[[nodiscard]] Expected repaired_nef(const Bytes& sample, const Bytes& damaged);
[[nodiscard]] Expected repaired_cr3(const Bytes& sample, const Bytes& damaged);

/// One row per format.
struct Format {
    std::string_view extension;
    /// The codes of a repair that fails although both files exist and the work directory can be written:
    /// from highest down to lowest.
    std::int32_t highest_code;
    std::int32_t lowest_code;
    Expected (*repaired)(const Bytes& sample, const Bytes& damaged);
};

/// All formats, and the one of an extension, which must be there.
[[nodiscard]] const std::vector<Format>& formats();
[[nodiscard]] const Format& format_of(std::string_view extension);

} // namespace test::oracle
