#pragma once

#include <cstddef>

namespace plate_mend::host::platform {

/// A stream of this program.
enum class Stream { kOutput, kErrors };

/// Whether a person looks at the stream.
[[nodiscard]] bool is_terminal(Stream stream);

/// Columns of the terminal that the stream is; 80 where that cannot be told.
[[nodiscard]] std::size_t terminal_columns(Stream stream);

} // namespace plate_mend::host::platform
