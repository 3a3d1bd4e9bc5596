#pragma once

// The fixed parts of the contact sheet.

namespace plate_mend::host {

/// The style and the script of the page, without their tags.
extern const char* const kHtmlStyle;
extern const char* const kHtmlScript;

} // namespace plate_mend::host
