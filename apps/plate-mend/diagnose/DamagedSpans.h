#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace plate_mend::host {

enum class SpanKind {
    kZero,     ///< Zeros.
    kRepeated, ///< Another byte repeated.
    kCopied,   ///< Four or more sectors of 512 bytes in a row that also occur earlier in the file.
    kNoise,    ///< Random bytes where the structure of the file should be.
};

/// "zeros", "one byte repeated", "sectors repeated", "noise".
[[nodiscard]] const char* describe(SpanKind kind);

/// At most this many spans of each kind are reported: the first ones in the file.
inline constexpr std::size_t kMostSpansOfAKind = 65536;

/// Bytes that a camera seldom writes.
struct DamagedSpan {
    SpanKind kind = SpanKind::kZero;
    std::uint64_t offset = 0;
    std::uint64_t size = 0;
};

/// The suspicious bytes of a file, by offset:
///
///   - runs of one byte, 512 bytes long or more;
///   - runs of four sectors or more, at multiples of 512, that also occur earlier in the file, all at the
///     same distance;
///   - noise: blocks of 4096 bytes from the beginning of the file, as long as each has an entropy of 7.5
///     bits per byte or more and no JPEG begins in it, within the first 64 KiB. Headers and directories have
///     6 bits and less, random bytes 7.9. Nothing after the first block of another kind is examined:
///     compressed images and encrypted notes look like noise.
///
/// All of them may also come from the camera: padding, such as the blank lines of an XMP packet, or a black
/// part of an uncompressed image. Takes linear time, and at most 16 MiB of memory besides the spans.
[[nodiscard]] std::vector<DamagedSpan> find_damaged_spans(std::span<const unsigned char> bytes);

} // namespace plate_mend::host
