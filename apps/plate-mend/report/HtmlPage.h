#pragma once

// The fixed parts of the contact sheet.

namespace plate_mend::host {

/// Style and behaviour of the page, as they stand between their tags.
extern const char* const kHtmlStyle;
extern const char* const kHtmlScript;

} // namespace plate_mend::host
