#pragma once

#include "container/Description.h"
#include "support/Bytes.h"

#include <optional>

namespace raw_mend {

/// Fails the test unless the description is true to the bytes in everything that can be compared with them:
///
///   every field is within the file, and its number is the offset or the length of what it belongs to
///   no extent's end overflows
///   the tables are sorted, apart, not empty, within the file, and without a byte of an image
///   the pictures are sorted by pixels
///   there are no more pieces than the bytes have room to name
void expect_consistent(const test::Bytes& bytes, const Description& description);

/// The same; a file that is not described is fine.
void expect_consistent(const test::Bytes& bytes, const std::optional<Description>& description);

/// The description of a file that must have one, and be consistent; else the test fails, and it is empty.
[[nodiscard]] Description described(const test::Bytes& bytes);

/// The same; everything in the file must be understood.
[[nodiscard]] Description understood(const test::Bytes& bytes);

/// The number in a field. It must be within the bytes.
[[nodiscard]] std::uint64_t number_in(const test::Bytes& bytes, const NumberField& field);

} // namespace raw_mend
