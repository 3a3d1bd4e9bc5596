#pragma once

#include "jpeg/Bits.h"
#include "jpeg/Block.h"
#include "jpeg/MarkerSegments.h"
#include "jpeg/SequentialAc.h"

#include <cstdint>
#include <vector>

namespace still_mend {

/// Decodes the blocks of one scan of a picture with several (ITU-T T.81, G.1.2 for progressive ones).
class BlockDecoder {
  public:
    [[nodiscard]] static bool has_tables(const Frame& frame, const Scan& scan, const Tables& tables);

    /// The tables must be there, and the scan must outlive the decoder.
    BlockDecoder(const Frame& frame, const Scan& scan, const Tables& tables);

    /// At the start of an interval.
    void restart();

    /// Adds to a block what the scan has for it. False for something that no picture can contain, or if the
    /// bits ended early.
    bool decode(BitReader& reader, std::size_t channel, Block& block);

    /// Continues after a block that did not decode, as libjpeg does: without the bits that its last code
    /// announced.
    void step_over(BitReader& reader);

    /// Whether no end-of-band run is left over: an interval does not end within one.
    [[nodiscard]] bool at_rest() const { return end_of_band_ == 0; }

  private:
    /// One component of the scan with all that decoding a block of it takes.
    struct Channel {
        HuffmanTable dc;
        HuffmanTable ac;
        std::int32_t dc_limit = 0;
        std::int32_t prediction = 0;
    };

    /// Notes that what did not decode has this many unread bits.
    bool fails(unsigned unread) {
        unread_ = unread;
        return false;
    }

    bool decode_dc(BitReader& reader, Channel& channel, Block& block);
    bool refine_dc(BitReader& reader, Block& block) const;
    bool decode_ac(BitReader& reader, const HuffmanTable& table, Block& block);
    bool refine_ac(BitReader& reader, const HuffmanTable& table, Block& block);
    void begin_end_of_band(BitReader& reader, unsigned category);
    unsigned refine_over_zeros(BitReader& reader, unsigned k, unsigned zeros, Block& block) const;
    void refine(BitReader& reader, std::int16_t& coefficient) const;

    const Scan& scan_;
    std::vector<Channel> channels_;
    std::uint32_t end_of_band_ = 0; // Blocks that the current end-of-band run still covers.
    unsigned unread_ = 0;           // Bits that belong to what did not decode.
    bool sequential_ = false;
};

} // namespace still_mend
