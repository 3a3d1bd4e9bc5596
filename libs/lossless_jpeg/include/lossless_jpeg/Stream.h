#pragma once

#include <lossless_jpeg/Head.h>

#include <functional>

namespace lossless_jpeg {

/// Why the entropy-coded data are not those of a complete frame.
enum class Fault {
    kNone,
    kNoCode,    ///< Bits that are no code.
    kEndsEarly, ///< A marker, or the end of the bytes, before the last sample of the frame or interval.
    kGoesOn,    ///< Eight bits or more after the last sample of the frame or interval.
    kNoRestart, ///< Another marker than the RST whose turn it is.
    kNoEoi,     ///< Another marker than EOI after the last sample.
};

/// How far the entropy-coded data could be decoded.
struct Progress {
    std::uint64_t samples = 0; ///< Before the fault, of all components; all of the frame if there is none.
    Fault fault = Fault::kNone;
    std::uint64_t byte = 0; ///< Offset of the byte that the fault is in; that of EOI if there is none.
    unsigned bit = 0;       ///< The bit of that byte, 0 for the highest.
    std::uint64_t end = 0;  ///< Offset after EOI; where the fault is if there is one.

    /// Whether the stream is complete: exactly as many differences as the frame has samples, each restart
    /// marker in its place, and EOI after the last of them. A lost or foreign byte nearly always prevents
    /// this, unless it changes no code, only the bits that follow one.
    [[nodiscard]] bool is_complete() const { return fault == Fault::kNone; }
};

/// Walks through the entropy-coded data without keeping samples. The bytes are those that the head was read
/// from. What follows EOI does not matter. Takes time proportional to the bytes up to the fault, whatever the
/// frame's size.
[[nodiscard]] Progress check(Bytes bytes, const Head& head);

/// Whether decode() can take it: 2 to 16 bits, predictor 1 to 7, a point transform below the precision, no
/// subsampling, and restart intervals of whole rows.
[[nodiscard]] bool can_decode(const Head& head);

/// What decode() found out.
struct Decoded {
    Progress progress;
    std::uint64_t rows = 0; ///< Complete rows.
    /// Samples beyond the precision, which an encoder never writes.
    std::uint64_t out_of_range = 0;
    std::uint64_t first_out_of_range =
        0; ///< Index of the first one in the order of the data; 0 if there is none.
};

/// Called with each complete row in order: width times components samples, the components in turn. The row is
/// valid during the call.
using RowSink = std::function<void(std::uint64_t row, std::span<const std::uint16_t> samples)>;

/// Decodes the rows up to the fault. can_decode() must hold.
[[nodiscard]] Decoded decode(Bytes bytes, const Head& head, const RowSink& sink);

} // namespace lossless_jpeg
