#pragma once

#include "Bytes.h"
#include "container/Description.h"

#include <cstdint>
#include <functional>
#include <map>
#include <vector>

namespace raw_mend {

/// A file that is made of parts of others, with some numbers changed. Parts are not copied: their bytes must
/// outlive the splice.
class Splice {
  public:
    /// Adds a part at the end.
    void append(Bytes part);
    /// Adds so many zeros at the end.
    void append_zeros(std::uint64_t count);

    [[nodiscard]] std::uint64_t size() const { return size_; }

    /// Changes a number; the field's offset is in the splice, and its base is taken from the number. Returns
    /// false, and changes nothing, if the number has no room in the field or is less than its base, or some
    /// of the field's bytes were changed before to something else.
    [[nodiscard]] bool set(const NumberField& field, std::uint64_t number);

    /// Passes all bytes on, from the first to the last, in pieces of any length. Changes are made in a copy
    /// of the bytes around them.
    void write(const std::function<void(Bytes)>& sink) const;

  private:
    [[nodiscard]] bool change(std::uint64_t at, std::vector<unsigned char> bytes);

    struct Part {
        std::uint64_t begin = 0; // In the splice.
        Bytes bytes;
        std::uint64_t length = 0; // That of zeros if there are no bytes.
    };

    std::vector<Part> parts_;
    std::map<std::uint64_t, std::vector<unsigned char>> changes_; // By offset; they do not overlap.
    std::uint64_t size_ = 0;
};

} // namespace raw_mend
