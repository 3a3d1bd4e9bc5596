#pragma once

#include "window/HttpServer.h"

#include <optional>
#include <string>

namespace plate_mend::host {

/// The head of a request, with the headers that the window uses; all others are left out.
///
///   head  from the request line to the empty line, with both
///
/// Returns the status of a refusal instead where that is no head, or has too many headers, or two of a kind
/// that there may be only one of.
struct CleanHead {
    std::string text;
    int refusal = 0; ///< 0: none.
};
[[nodiscard]] CleanHead clean_head(const std::string& head, const HttpLimits& limits);

} // namespace plate_mend::host
