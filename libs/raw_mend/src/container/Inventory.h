#pragma once

#include "container/Description.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace raw_mend {

/// Keeps account of what the readers of one file have read, so that all of them together take linear time and
/// some MiB of memory whatever the bytes say, and collects the tables and the sentences of the description.
/// What is permitted is far more than photographs have: 131,072 numbers of arrays, 4096 directories of 1 MiB
/// together, 65,536 boxes, and as many samples of one size.
class Inventory {
  public:
    /// The bytes must outlive the inventory.
    explicit Inventory(Bytes bytes);

    [[nodiscard]] Bytes bytes() const { return bytes_; }
    [[nodiscard]] std::uint64_t size() const { return bytes_.size(); }

    enum class Claim { kNew, kSame, kOverlap, kTooMany };

    /// Reserves bytes for one directory. No byte is reserved twice: kSame where a directory was read at this
    /// offset before, kOverlap where another one has some of the bytes, kTooMany if the directories are too
    /// many or too long. The extent must be within the file.
    [[nodiscard]] Claim claim(const Extent& extent);

    /// Permits the reading of so many numbers of an array. Arrays that do not overlap never have more numbers
    /// than half the bytes of the file; false once that many are read, or too many for a photograph.
    [[nodiscard]] bool spend_numbers(std::uint64_t count);

    /// Permits so many samples of one size, with which no table grows. They are few for the file's size.
    [[nodiscard]] bool spend_unlisted(std::uint64_t count);

    /// Permits the reading of another box; false if they are too many for a photograph.
    [[nodiscard]] bool spend_box();

    /// Records a table. The part outside the file is dropped.
    void add_table(const Extent& extent);

    /// Records a table, and the field that says where it is.
    void add_reference(const Extent& extent, const NumberField& field);

    /// Records a sentence for the report, once. Keeps the first few dozen.
    void add_sentence(const std::string& sentence);

    /// Counts a value that its entry puts outside the file.
    void count_outside() { ++outside_; }

    /// Moves tables, references and sentences into the description. Bytes of its images are taken out of the
    /// tables.
    void finish(Description& description);

  private:
    Bytes bytes_;
    std::uint64_t numbers_left_;
    std::uint64_t unlisted_left_;
    std::uint64_t directory_bytes_left_;
    std::uint64_t boxes_left_;
    std::uint64_t outside_ = 0;
    std::map<std::uint64_t, std::uint64_t> claims_; ///< Ends by their starts.
    std::vector<Extent> tables_;
    std::vector<Piece> references_;
    std::vector<std::string> sentences_;
};

/// The bytes of all pieces of an image, which must not be more than the largest number.
[[nodiscard]] std::uint64_t data_length(const Image& image);

} // namespace raw_mend
