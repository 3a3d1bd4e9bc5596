#pragma once

#include "Bytes.h"
#include "jpeg/Bits.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace still_mend {

/// The most pixels a picture may claim.
inline constexpr std::uint64_t kMaxPixels = 256'000'000;

/// A quantisation table.
struct QuantTable {
    std::array<std::uint16_t, 64> values{}; ///< In zigzag order, none of them 0.
    bool operator==(const QuantTable&) const = default;
};

/// What DQT, DHT and DRI segments have set so far.
struct Tables {
    std::array<std::optional<QuantTable>, 4> quant;
    std::array<std::optional<HuffmanCodes>, 4> dc;
    std::array<std::optional<HuffmanCodes>, 4> ac;
    unsigned restart_interval = 0; ///< In MCUs; 0 for none.
    bool operator==(const Tables&) const = default;
};

/// A colour component, as a frame header names it.
struct Component {
    unsigned id = 0;
    unsigned h_samp = 1; ///< Sampling factors, 1 to 4; 1 and 1 for the only component of a grey picture.
    unsigned v_samp = 1;
    unsigned quant = 0; ///< Number of its quantisation table, 0 to 3.
    bool operator==(const Component&) const = default;
};

/// A frame header, and the layout that follows from it.
struct Frame {
    unsigned char code = 0; ///< SOF0, SOF1 or SOF2.
    unsigned width = 0;
    unsigned height = 0;
    std::vector<Component> components;

    bool operator==(const Frame&) const = default;

    [[nodiscard]] bool progressive() const;
    [[nodiscard]] unsigned h_max() const;
    [[nodiscard]] unsigned v_max() const;
    /// MCUs of an interleaved scan.
    [[nodiscard]] unsigned mcus_wide() const;
    [[nodiscard]] unsigned mcus_high() const;
    [[nodiscard]] std::size_t mcus() const { return std::size_t{mcus_wide()} * mcus_high(); }
    [[nodiscard]] std::uint64_t mcu_area() const { return std::uint64_t{64} * h_max() * v_max(); }
    [[nodiscard]] unsigned blocks_per_mcu() const;
    /// Blocks of a component that hold pixels: what a scan of this component alone carries.
    [[nodiscard]] unsigned blocks_wide(const Component& component) const;
    [[nodiscard]] unsigned blocks_high(const Component& component) const;
};

/// A component that a scan carries.
struct ScanComponent {
    std::size_t index = 0; ///< Of the component in the frame.
    unsigned dc = 0;       ///< Numbers of its Huffman tables, 0 to 3.
    unsigned ac = 0;
};

/// A scan header.
struct Scan {
    std::vector<ScanComponent> components;
    unsigned ss = 0;  ///< Spectral selection: the first coefficient in zigzag order, 0 to 63,
    unsigned se = 63; ///< and the last one.
    unsigned ah = 0;  ///< Successive approximation: the bit position of the scan before, 0 for none,
    unsigned al = 0;  ///< and that of this scan.

    /// Whether it is the first scan of the DC coefficients.
    [[nodiscard]] bool begins_dc() const { return ss == 0 && ah == 0; }
    /// Whether it adds a bit to AC coefficients that an earlier scan began.
    [[nodiscard]] bool refines_ac() const { return ss > 0 && ah > 0; }
};

// Each reads a segment's content, which follows the length field, and judges all of it. None reads outside.

/// Adds the tables of a DQT segment. False, with nothing changed, if the content is invalid.
[[nodiscard]] bool read_quant_tables(Bytes content, Tables& tables);
/// Adds the tables of a DHT segment: lengths that form a prefix code, at most 256 symbols, DC categories of
/// at most 15 (12 bits have that many; pictures of 8 bits at most 11).
[[nodiscard]] bool read_huffman_tables(Bytes content, Tables& tables);
[[nodiscard]] bool read_restart_interval(Bytes content, Tables& tables);
/// Precision 8, one, three or four components, sampling 1 to 4, at most 10 blocks per MCU, sizes of 1 to
/// 65500 and at most kMaxPixels.
[[nodiscard]] std::optional<Frame> read_frame(unsigned char code, Bytes content);
/// Whether the content is that of an SOS segment, without the frame: component ids are not looked up.
[[nodiscard]] bool is_scan(Bytes content);
/// A scan of this frame.
[[nodiscard]] std::optional<Scan> read_scan(Bytes content, const Frame& frame);

/// The content of a segment whose FF is at the offset, if all of it is within the file.
[[nodiscard]] std::optional<Bytes> segment_content(Bytes file, std::size_t offset);

} // namespace still_mend
