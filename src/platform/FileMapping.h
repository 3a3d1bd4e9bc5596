#pragma once

#include <cstdint>
#include <filesystem>
#include <span>

// The system calls under MMAP, one function per call. None throws or logs; last_error returns the reason of a
// failure. A path that is too long for Windows must be given in its \\?\ form.
//
//   mode           file opened for          mapping             writes through the view
//   kReadWrite     reading and writing      shared, writable    reach the file
//   kReadOnly      reading and writing      read-only           are not allowed
//   kCopyOnWrite   reading and writing      private             stay in the process; on Windows map_view
//                                                               fails

namespace plate_mend::platform {

enum class MapMode { kReadWrite, kReadOnly, kCopyOnWrite };

/// A HANDLE on Windows, a descriptor on POSIX.
using NativeHandle = std::intptr_t;
inline constexpr NativeHandle kNoHandle = -1;

/// The size in bytes of the regular file at the path; 0 for anything else, or nothing.
[[nodiscard]] std::uint64_t file_size(const std::filesystem::path& path) noexcept;

/// Opens the file for a mapping. kNoHandle on failure.
[[nodiscard]] NativeHandle open_file(const std::filesystem::path& path, MapMode mode) noexcept;

/// Creates a mapping of the whole file. kNoHandle on failure. POSIX has no such object; the descriptor serves
/// as one.
[[nodiscard]] NativeHandle create_mapping(NativeHandle file, MapMode mode) noexcept;

/// Maps the first size bytes. Null on failure.
[[nodiscard]] unsigned char* map_view(NativeHandle mapping, MapMode mode, std::uint64_t size) noexcept;

/// Asks the system to load bytes of a view into memory at once, because they are about to be read. It may do
/// nothing.
void prefetch(std::span<const unsigned char> bytes) noexcept;

/// Release what the three functions above returned: view, then mapping, then file.
void unmap_view(unsigned char* view, std::uint64_t size) noexcept;
void close_mapping(NativeHandle mapping) noexcept;
void close_file(NativeHandle file) noexcept;

/// The system's number for the failure of the last call: GetLastError or errno.
[[nodiscard]] unsigned int last_error() noexcept;

} // namespace plate_mend::platform
