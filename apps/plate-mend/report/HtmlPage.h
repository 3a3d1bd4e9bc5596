#pragma once

// The fixed parts of the contact sheet.

namespace plate_mend::host {

/// The style and the script of the page, without their tags.
extern const char* const kHtmlStyle;
extern const char* const kHtmlScript;

/// What is between the summary and the files, with the beginning of their element: filters and views. Hidden
/// until the script runs.
extern const char* const kHtmlTools;

/// The large view of one file, empty and closed.
extern const char* const kHtmlViewer;

} // namespace plate_mend::host
