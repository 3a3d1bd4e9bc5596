#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// Bytes of a file that the medium does not give back.
struct UnreadableSpan {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

/// What was read of a file while it was copied.
struct CopiedFile {
    std::uint64_t size = 0;                 ///< Bytes of the file.
    std::uint64_t end_of_data = 0;          ///< Nothing but zeros is at this offset and after it.
    std::int64_t modified = 0;              ///< When its bytes changed, before the first was read.
    std::int64_t changed = 0;               ///< When anything of it changed, likewise.
    std::string sha256;                     ///< With zeros for what cannot be read.
    std::vector<UnreadableSpan> unreadable; ///< In their order, none next to another.
};

/// Copies a file to a new one and computes its sum, in one pass over a medium that may be dying: of what
/// cannot be read, only the sectors concerned (512 bytes) become zeros. The copy ends where nothing but zeros
/// follows; whoever wants them makes it longer. The file itself is only read.
///
/// Throws Interrupted, and MachineFailure when the file does not open, none of it can be read, or the copy
/// cannot be written.
[[nodiscard]] CopiedFile copy_what_is_readable(const std::filesystem::path& from,
                                               const std::filesystem::path& to);

} // namespace plate_mend::host
