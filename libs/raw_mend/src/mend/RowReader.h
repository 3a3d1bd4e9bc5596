#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"
#include "locate/UnitReader.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace raw_mend {

/// The samples of an image whose rows all have the same number of bytes, if it began at a given offset. The
/// offset may be before the file, and the image may end after it. Cells are read as two samples each: those
/// at their ends.
class RowReader {
  public:
    /// The geometry must be supported(). It and the file must outlive this.
    RowReader(Bytes file, const RowGeometry& geometry, std::int64_t start);

    /// Samples of a row. After its last whole group, none are read.
    [[nodiscard]] std::size_t width() const { return width_; }

    /// Whether all bytes of a row are in the file.
    [[nodiscard]] bool has(std::uint64_t row) const;

    /// Reads a row, which must be in the file.
    void read(std::uint64_t row, std::vector<float>& samples);

    /// The number of samples that begin before a byte of a row.
    [[nodiscard]] static std::size_t sample_at(const RowGeometry& geometry, std::uint64_t byte);

    /// From one sample to the next of its colour in a row.
    [[nodiscard]] static std::size_t step(const RowGeometry& geometry);

  private:
    Bytes file_;
    const RowGeometry& geometry_;
    std::int64_t start_;
    std::size_t width_;
    Units units_;
};

} // namespace raw_mend
