#pragma once

#include "files/FileList.h"

#include <string>

namespace plate_mend::host {

/// "5 files without a sign of a RAW photograph are left out: 3 .jpg, 2 without extension", of damaged files
/// in folders, and how to have them tried; empty for none.
[[nodiscard]] std::string describe_inputs_left_out(const FileSelection& selection);

/// "5 files of no use as a sample are left out: 3 .jpg, 2 results of plate-mend"; empty for none.
[[nodiscard]] std::string describe_samples_left_out(const FileSelection& selection);

} // namespace plate_mend::host
