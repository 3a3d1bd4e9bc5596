#pragma once

#include "Bytes.h"
#include "coding/HeadStructure.h"
#include "locate/ByteRange.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace raw_mend {

/// How far apart one stream's end and the next one's begin are. Padding depends on the distance from the
/// first byte of a stream, so that it is found in a displaced image too.
struct Spacing {
    std::uint64_t alignment = 0; ///< A power of two that each stream is padded to; 0 for none.
    std::uint64_t least = 1;     ///< Without an alignment: the least and the most bytes between two streams.
    std::uint64_t most = 0;

    /// Whether a stream with this range may be followed by one that begins at the offset.
    [[nodiscard]] bool allows(const ByteRange& stream, std::uint64_t next) const;
    /// The most bytes between two streams.
    [[nodiscard]] std::uint64_t most_padding() const { return alignment == 0 ? most : alignment - 1; }
};

/// What an intact photograph says about the lossless JPEGs of its raw image: one per strip or tile.
class CodedSample {
  public:
    /// The pieces are those of the raw image in the order of the container's lists. Nothing if one of them
    /// does not begin with the head of a lossless JPEG, is not complete, or overlaps another one. Each piece
    /// is decoded once.
    [[nodiscard]] static std::optional<CodedSample> read(Bytes sample, std::span<const ByteRange> pieces);

    /// The number of pieces, at least one.
    [[nodiscard]] std::size_t count() const { return streams_.size(); }

    /// Where the streams are, from SOI to after EOI, in the order of their offsets.
    [[nodiscard]] const std::vector<ByteRange>& streams() const { return streams_; }

    /// Which piece each of streams() is.
    [[nodiscard]] const std::vector<std::size_t>& pieces() const { return pieces_; }

    /// The number of the structure that a head has, as structure_at() counts; nothing for that of no stream.
    [[nodiscard]] std::optional<std::size_t> find_structure(const lossless_jpeg::Head& head) const;

    /// The number of the structure that the nth of streams() has.
    [[nodiscard]] std::size_t structure_at(std::size_t nth) const { return structure_at_[nth]; }

    /// Whether all streams have the same head, byte for byte, and this is it.
    [[nodiscard]] bool has_exact_head(Bytes head) const;

    [[nodiscard]] const Spacing& spacing() const { return spacing_; }
    /// Bytes of the shortest stream, of all on average, and of the shortest that its frames could have: a bit
    /// per sample.
    [[nodiscard]] std::uint64_t shortest() const { return shortest_; }
    [[nodiscard]] std::uint64_t mean() const { return mean_; }
    [[nodiscard]] std::uint64_t shortest_possible() const { return shortest_possible_; }
    /// Bytes after the last stream.
    [[nodiscard]] std::uint64_t after_last() const { return after_last_; }
    /// Whether a file with this many bytes after its last stream ends as the sample does, padding included.
    /// Never true if streams are padded to whole clusters, where truncated files end so too.
    [[nodiscard]] bool ends_alike(std::uint64_t bytes_after_last) const;

    /// Whether an EOI ends directly before the first stream, or within its padding.
    [[nodiscard]] bool eoi_before_first() const { return eoi_before_first_; }

  private:
    CodedSample() = default;
    [[nodiscard]] bool read_streams(Bytes sample, std::span<const ByteRange> pieces);
    void number_structures(const std::vector<HeadStructure>& structures);
    void read_spacing();
    void read_exact_head(Bytes sample, const std::vector<ByteRange>& heads);

    std::vector<ByteRange> streams_;
    std::vector<std::size_t> pieces_;
    std::vector<HeadStructure> structures_; // Sorted, each once.
    std::vector<std::size_t> structure_at_;
    std::vector<unsigned char> exact_head_; // Empty if the heads differ.
    Spacing spacing_;
    std::uint64_t shortest_ = 0;
    std::uint64_t mean_ = 0;
    std::uint64_t shortest_possible_ = ~std::uint64_t{0};
    std::uint64_t after_last_ = 0;
    bool eoi_before_first_ = false;
};

/// Whether an EOI ends at this offset or up to this many bytes before it.
[[nodiscard]] bool has_eoi_before(Bytes bytes, std::uint64_t offset, std::uint64_t padding);

} // namespace raw_mend
