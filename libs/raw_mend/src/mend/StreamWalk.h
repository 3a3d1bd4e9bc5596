#pragma once

#include "mend/StreamBytes.h"
#include "mend/StreamFit.h"

#include <optional>

namespace raw_mend {

/// Where the values of a stream stop fitting, or cannot be decoded.
struct StreamBreak {
    std::size_t value = 0; ///< The first that does not fit, or nearly so.
    /// Whether nothing can be decoded from a later value on, or no encoder writes what is decoded there.
    bool is_fault = false;
};

/// A value and where its bits begin.
struct StreamPlace {
    std::size_t value = 0;
    lossless_jpeg::BitPlace place;
};

/// Decodes a stream and watches how its values fit. Can be taken up again after a break with other bytes.
class StreamWalk {
  public:
    /// The head is at the beginning of the bytes. Both must outlive this.
    StreamWalk(const lossless_jpeg::Head& head, std::size_t period, StreamBytes& bytes);

    /// Goes on to the next break; nothing once all values are decoded, or those of a block that ends at or
    /// after the limit.
    [[nodiscard]] std::optional<StreamBreak> run(std::size_t limit);
    /// All that is needed to come back to where the walk is, after it went on from a value before that, with
    /// these bytes or others.
    struct State {
        std::size_t from = 0;
        std::vector<std::uint16_t> values;
        std::vector<lossless_jpeg::BitPlace> places;
        std::vector<unsigned char> is_bad;
        StreamFit fit;
        StreamBytes bytes;
        lossless_jpeg::DifferenceReader reader;
        std::size_t at = 0;
        std::size_t judged = 0;
    };
    [[nodiscard]] State save(std::size_t from) const;
    void restore(const State& state);

    /// Takes up at a value whose bits begin there.
    void resume(const StreamPlace& place);

    /// Where EOI ends in the bytes, if all values are decoded, and EOI follows the last.
    [[nodiscard]] std::optional<std::uint64_t> find_end();
    /// The last place before which no bit of a byte is used, nor of any after it; the byte must be after the
    /// head. Not later than what is decoded.
    [[nodiscard]] StreamPlace place_before(std::uint64_t byte) const;
    /// Where a decoded value begins.
    [[nodiscard]] StreamPlace place_of(std::size_t value) const;
    /// How many values are decoded.
    [[nodiscard]] std::size_t decoded() const { return at_; }

    [[nodiscard]] const StreamFrame& frame() const { return frame_; }
    [[nodiscard]] const StreamFit& fit() const { return fit_; }
    [[nodiscard]] const StreamBytes& bytes() const { return *bytes_; }
    [[nodiscard]] StreamBytes& bytes() { return *bytes_; }
    [[nodiscard]] const lossless_jpeg::ComponentTables& tables() const { return tables_; }
    /// All that are decoded. What is after them may be changed.
    [[nodiscard]] std::vector<std::uint16_t>& values() { return values_; }

  private:
    [[nodiscard]] std::size_t block_of(std::size_t value) const;
    [[nodiscard]] std::size_t begin_of(std::size_t block) const;
    [[nodiscard]] std::optional<StreamBreak> judge(std::size_t block);

    StreamFrame frame_;
    lossless_jpeg::ComponentTables tables_;
    StreamBytes* bytes_;
    StreamFit fit_;
    std::size_t window_; // Blocks that are judged together.
    std::vector<std::uint16_t> values_;
    std::vector<lossless_jpeg::BitPlace> places_; // Where each block begins.
    std::vector<unsigned char> is_bad_;           // Whether each block is.
    std::size_t at_ = 0;
    std::size_t judged_ = 0; // Blocks before this one are not judged again.
    lossless_jpeg::DifferenceReader reader_;
};

} // namespace raw_mend
