#pragma once

#include "container/Description.h"
#include "support/Bytes.h"

#include <cstdint>
#include <string>

namespace raw_mend {

/// A sentence about the first thing in which a description is not true to the bytes, of all that can be
/// compared with them; empty if there is none:
///
///   every field is within the file, and its number is the offset or the length of what it belongs to
///   no extent's end overflows
///   the tables are sorted, apart, not empty, within the file, and without a byte of an image
///   the pictures are sorted by pixels
///   there are no more pieces than the bytes have room to name
[[nodiscard]] std::string inconsistency(const test::Bytes& bytes, const Description& description);

/// The number in a field. It must be within the bytes.
[[nodiscard]] std::uint64_t number_in(const test::Bytes& bytes, const NumberField& field);

} // namespace raw_mend
