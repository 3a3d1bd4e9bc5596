#pragma once

#include <lossless_jpeg/Head.h>

#include <vector>

namespace raw_mend {

/// What the heads of one camera's lossless JPEGs have in common, whatever is photographed: the kinds and
/// lengths of their marker segments in order, the frame, the restart interval and the point transform.
/// Huffman tables may differ, and so may the length of a DHT and the predictor.
class HeadStructure {
  public:
    explicit HeadStructure(const lossless_jpeg::Head& head);

    bool operator==(const HeadStructure&) const = default;
    /// Some order, for searching.
    bool operator<(const HeadStructure& other) const { return numbers_ < other.numbers_; }

  private:
    std::vector<unsigned> numbers_;
};

} // namespace raw_mend
