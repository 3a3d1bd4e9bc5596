#pragma once

#include "Bytes.h"
#include "jpeg/JpegError.h"
#include "jpeg/MarkerSegments.h"

#include <cstdint>

namespace still_mend {

/// libjpeg's decompressor over bytes in memory, destroyed on every way out. It counts what libjpeg reads as
/// work.
class JpegDecompressor {
  public:
    /// The bytes must outlive it.
    explicit JpegDecompressor(Bytes jpeg) : jpeg_(jpeg) { info.err = &errors; }
    JpegDecompressor(const JpegDecompressor&) = delete;
    JpegDecompressor& operator=(const JpegDecompressor&) = delete;
    ~JpegDecompressor();

    /// Reads up to the first SOS. False when libjpeg does not get that far. Throws std::bad_alloc.
    [[nodiscard]] bool read_header();

    /// The frame that was read, arithmetic ones too. Only after read_header, and before the picture is
    /// finished.
    [[nodiscard]] Frame frame() const;

    /// Whether the frame may be decoded at all: its blocks are within what the bytes can code, except in
    /// small pictures, and within kMaxPixels where libjpeg keeps all coefficients.
    [[nodiscard]] bool is_affordable(const Frame& frame);

    /// What decoding all scans may cost, in blocks: several times what a picture of this many bytes takes.
    [[nodiscard]] std::uint64_t most_visits() const;

    /// Blocks that one step of jpeg_consume_input decodes in the current scan.
    [[nodiscard]] std::uint64_t blocks_of_step() const;

    /// Bytes that libjpeg has consumed; all of them if it looked for more.
    [[nodiscard]] std::size_t consumed() const;

    /// Whether libjpeg has looked for more bytes than there are.
    [[nodiscard]] bool ran_out() const;

    jpeg_decompress_struct info{};
    JpegErrors errors;

  private:
    Bytes jpeg_;
};

} // namespace still_mend
