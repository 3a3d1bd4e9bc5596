#pragma once

#include "Inconsistency.h"
#include "container/Description.h"
#include "support/Bytes.h"

#include <optional>

namespace raw_mend {

/// Fails the test unless the description is true to the bytes: see inconsistency().
void expect_consistent(const test::Bytes& bytes, const Description& description);

/// The same; a file that is not described is fine.
void expect_consistent(const test::Bytes& bytes, const std::optional<Description>& description);

/// The description of a file that must have one, and be consistent; else the test fails, and it is empty.
[[nodiscard]] Description described(const test::Bytes& bytes);

/// The same; everything in the file must be understood.
[[nodiscard]] Description understood(const test::Bytes& bytes);

} // namespace raw_mend
