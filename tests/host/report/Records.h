#pragma once

#include "record/Record.h"

namespace test {

/// A photograph that was repaired with the second of three samples, with every field filled.
[[nodiscard]] plate_mend::host::Record full_record();

/// A photograph of that name and verdict.
[[nodiscard]] plate_mend::host::Record small_record(const std::string& path,
                                                    plate_mend::host::Verdict verdict);

} // namespace test
