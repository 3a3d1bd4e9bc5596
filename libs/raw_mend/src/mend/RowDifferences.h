#pragma once

#include "Bytes.h"
#include "locate/RowGeometry.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace raw_mend {

/// How the samples of an image differ from their neighbours, in chunks: some samples of a row side by side.
/// Rows follow each other, all with as many chunks.
class RowDifferences {
  public:
    /// The bytes are those of all rows. The geometry must be supported(), and outlive this.
    RowDifferences(Bytes image, const RowGeometry& geometry);

    [[nodiscard]] std::size_t size() const { return vertical_.size(); }
    /// Chunks of a row.
    [[nodiscard]] std::size_t row() const { return row_; }
    /// Chunks from a row to the next of its colours.
    [[nodiscard]] std::size_t period() const { return row_ * geometry_.cfa_period; }

    /// The chunk that a byte of the image is in.
    [[nodiscard]] std::size_t chunk_of(std::uint64_t byte) const;

    /// The mean difference between a chunk and the one above it of its colours; 0 in the first rows.
    [[nodiscard]] float vertical(std::size_t chunk) const { return vertical_[chunk]; }
    /// The mean difference between samples of a chunk and those of their colour to the left.
    [[nodiscard]] float horizontal(std::size_t chunk) const { return horizontal_[chunk]; }

    /// The vertical differences of all chunks, and the horizontal ones.
    [[nodiscard]] std::span<const float> verticals() const { return vertical_; }
    [[nodiscard]] std::span<const float> horizontals() const { return horizontal_; }

    /// The vertical difference that half of the chunks do not exceed.
    [[nodiscard]] float median() const { return median_; }

  private:
    void add(const std::vector<float>& samples, const std::vector<float>& above);

    const RowGeometry& geometry_;
    std::size_t row_ = 0;
    std::vector<float> vertical_;
    std::vector<float> horizontal_;
    float median_ = 0;
};

} // namespace raw_mend
