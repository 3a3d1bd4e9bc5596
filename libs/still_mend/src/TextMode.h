#pragma once

#include "Bytes.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace still_mend {

/// A file that a transfer in text mode changed, with the change undone.
class TextMode {
  public:
    /// Undoes LF to CR LF where that is proved: the file has many LF, and CR is before each of them, which
    /// bytes of a picture never are by chance. Nothing otherwise. Takes the memory of the file.
    [[nodiscard]] static std::optional<TextMode> undo(Bytes file);

    [[nodiscard]] Bytes bytes() const { return bytes_; }
    /// The offset in the changed file of a byte.
    [[nodiscard]] std::size_t offset_in_file(std::size_t offset) const;
    /// The offset in the changed file of the first byte that was inserted.
    [[nodiscard]] std::size_t first_change() const;

  private:
    std::vector<unsigned char> bytes_;
};

} // namespace still_mend
