#pragma once

#include "platform/FileMapping.h"

#include <cstdint>
#include <filesystem>
#include <span>

namespace plate_mend {

/// A whole file mapped into memory, with a byte cursor.
///
/// The mapping covers exactly the size that the file had at construction. Three states:
///
///   not mapped   size() is 0 and nothing is held (after a failed construction a handle may stay open for
///                the life of the process)
///   mapped       base points to size() bytes
///   closed       view and handles are released; size() keeps its value, and every access throws
///
/// A constructor never throws because of the file: size() == 0 is the only sign of failure. The reason is
/// logged at level 3, except for a missing or an empty file. Anything but a regular file counts as empty.
///
/// The file is opened for reading and writing in every mode, so a file that the process may not write is not
/// mapped. On Windows the access includes deletion: a file that is open elsewhere without sharing deletion is
/// not mapped either.
///
/// An object belongs to one thread. seek puts the cursor anywhere, but reads and writes at the cursor (see
/// Reading.h) and advance throw OutRangeException past the last byte. For what is odd in this interface see
/// docs/compatibility.md, All formats.
class MMAP {
  public:
    /// Maps for reading and writing; writes reach the file.
    explicit MMAP(std::filesystem::path path);

    /// Maps read-only, or, with false, writable with writes that stay in the process. Windows refuses that
    /// view, so nothing is mapped there. Kept without a caller: see docs/compatibility.md, All formats.
    MMAP(std::filesystem::path path, bool read_only);

    MMAP(const MMAP&) = delete;
    MMAP& operator=(const MMAP&) = delete;
    ~MMAP();

    /// Releases the view and both handles, so that the file can be removed. May be called twice. Writes reach
    /// the file through the system; nothing is flushed here.
    void close();

    /// Puts the cursor at the offset, in bytes, without any check.
    void seek(std::uint64_t offset) { cursor_ = offset; }

    /// The cursor, in bytes from the start of the file.
    [[nodiscard]] std::uint64_t position() const { return cursor_; }

    /// The file's size in bytes at construction; 0 when nothing is mapped.
    [[nodiscard]] std::uint64_t size() const { return size_; }

    /// Moves the cursor forward and returns its low 32 bits. Past the last byte it throws OutRangeException
    /// and leaves the cursor. A sum beyond 64 bits leaves the cursor, writes to std::cerr and returns
    /// 0xFFFFFFFF. (With nothing mapped no move is too far.)
    std::uint32_t advance(std::uint64_t count);

    /// Moves the cursor backward and returns it. Before the start it leaves the cursor, writes to std::cerr
    /// and returns 0xFFFFFFFF. Kept without a caller: see docs/compatibility.md, All formats.
    std::uint64_t back(std::uint64_t count);

    /// The mapped bytes; empty when nothing is mapped, and after close. Writable only where the mode is.
    [[nodiscard]] std::span<unsigned char> bytes() const;

    /// First byte of the view; null when nothing is mapped. Use bytes() where the range has not been checked.
    unsigned char* base = nullptr;

  private:
    MMAP(std::filesystem::path path, platform::MapMode mode);
    void map(platform::MapMode mode);

    bool closed_ = false;
    std::filesystem::path file_name_;
    platform::NativeHandle file_ = platform::kNoHandle;
    platform::NativeHandle mapping_ = platform::kNoHandle;
    unsigned char* view_ = nullptr;
    std::uint64_t size_ = 0;
    std::uint64_t cursor_ = 0;
};

} // namespace plate_mend
