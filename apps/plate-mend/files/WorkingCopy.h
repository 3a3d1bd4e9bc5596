#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace plate_mend::host {

/// Bytes of a file that cannot be read.
struct UnreadableSpan {
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

/// What was learned about a file while it was copied.
struct CopiedFile {
    std::uint64_t size = 0;                 ///< Bytes of the file.
    std::uint64_t end_of_data = 0;          ///< From this offset on there are only zeros.
    std::int64_t modified = 0;              ///< When its bytes changed, before the first was read.
    std::int64_t changed = 0;               ///< When anything about it changed, likewise.
    std::string sha256;                     ///< With zeros in place of what cannot be read.
    std::vector<UnreadableSpan> unreadable; ///< In order, none adjacent to another.
};

/// Copies a file to a new one and computes its sum, in one pass, since the medium may be dying. Sectors of
/// 512 bytes that cannot be read become zeros. The copy ends where only zeros follow; a caller that needs
/// them lengthens it. The file itself is only read.
///
/// Throws Interrupted, and MachineFailure when the file does not open, none of it can be read, or the copy
/// cannot be written.
[[nodiscard]] CopiedFile copy_readable(const std::filesystem::path& from, const std::filesystem::path& to);

/// Copies a working copy to a new one without the CR before each LF, which a transfer in text mode put there.
/// Returns where the byte at an offset of the first is in the second. Throws std::system_error when that
/// cannot be written.
[[nodiscard]] std::uint64_t copy_without_text_mode(const std::filesystem::path& from,
                                                   const std::filesystem::path& to, std::uint64_t offset);

} // namespace plate_mend::host
