#pragma once

#include "record/CameraFacts.h"

#include <string>

namespace plate_mend::host {

/// The text of an XMP sidecar with these facts, and a note in the photograph's history that it was repaired,
/// and that everything else in its metadata is the sample's. Always the same text for the same arguments.
/// Throws std::runtime_error where the XMP library refuses. May be called by several threads.
///
///   sample  the sample's name, well-formed UTF-8
[[nodiscard]] std::string sidecar_text(const CameraFacts& facts, const std::string& sample);

} // namespace plate_mend::host
