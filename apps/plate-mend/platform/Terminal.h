#pragma once

#include <cstddef>

namespace plate_mend::host::platform {

/// A stream of this program.
enum class Stream { kOutput, kErrors };

/// Whether the stream is a terminal.
[[nodiscard]] bool is_terminal(Stream stream);

/// Columns of the stream's terminal; 80 if that is unknown.
[[nodiscard]] std::size_t terminal_columns(Stream stream);

} // namespace plate_mend::host::platform
