#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace text_mode {

/// A file that a transfer in text mode changed, with the change undone.
class TextMode {
  public:
    /// Undoes LF to CR LF where that is proved: the file has at least 16 LF, and CR is before each of them.
    /// One byte in 256 is LF in the coded data of a picture, and CR is before one LF in 256, so that chance
    /// does that once in 2^128 files. Nothing otherwise. Takes the memory of the file if it is undone. Throws
    /// std::bad_alloc.
    [[nodiscard]] static std::optional<TextMode> undo(std::span<const unsigned char> file);

    /// As they were before the transfer. Fewer than in the changed file.
    [[nodiscard]] std::span<const unsigned char> bytes() const { return bytes_; }
    /// The offset in the changed file of the byte at this offset; that of its end for one past the last.
    [[nodiscard]] std::size_t offset_in_file(std::size_t offset) const;
    /// The offset in the changed file of the first byte that was inserted.
    [[nodiscard]] std::size_t first_change() const;

  private:
    std::vector<unsigned char> bytes_;
};

} // namespace text_mode
