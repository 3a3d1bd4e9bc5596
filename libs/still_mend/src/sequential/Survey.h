#pragma once

#include "fit/McuTraces.h"
#include "jpeg/Bits.h"
#include "jpeg/McuDecoder.h"

#include <cstddef>
#include <vector>

namespace still_mend {

/// The entropy-coded data of one scan, and how its MCUs are to be read.
struct ScanData {
    Bytes file;
    std::size_t first = 0;  ///< First byte of the entropy-coded data.
    std::size_t limit = 0;  ///< One after the last byte that can belong to them.
    unsigned interval = 0;  ///< MCUs from restart to restart, 0 without.
    std::size_t total = 0;  ///< MCUs of the picture.
    bool from_start = true; ///< The first byte is that of the first MCU.
};

/// A run: MCUs that decoded one after the other.
struct Run {
    BitReader start;       ///< At the first of them.
    bool dc_known = true;  ///< It began at a restart or at the scan's first byte.
    int restart = -1;      ///< Number of the restart marker before it, -1 for none.
    bool adjacent = false; ///< The run before ended at that marker.
    bool closes = false;   ///< Its bits end with the run, at a marker or at the limit.
    bool at_eoi = false;   ///< And that marker is EOI.
    bool cut = false;      ///< Its data end with the limit: all of it is good.
    std::size_t trace = 0; ///< That of the first MCU.
    std::size_t count = 0; ///< MCUs.
    std::size_t begin = 0; ///< Approximate offsets in the file.
    std::size_t end = 0;
};

/// What a first pass over the data found, without keeping a coefficient.
struct Survey {
    McuTraces traces;
    std::vector<Run> runs;
    std::size_t end = 0; ///< After EOI, or where reading stopped.
};

/// Splits the data at restart markers. Each entropy-coded segment is a run of at most one interval, however
/// it ends; one after a marker other than a restart is left out. Reads each byte once or twice.
[[nodiscard]] Survey survey_restarts(const ScanData& data, const McuDecoder& decoder, McuTraces traces);

/// Reads data without restarts to the end. After bits that do not decode it goes on where it stopped:
/// Huffman codes fall into step again by themselves. Runs of fewer than kMinRun MCUs are dropped, except the
/// first.
[[nodiscard]] Survey survey_plain(const ScanData& data, const McuDecoder& decoder, McuTraces traces);

inline constexpr std::size_t kMinRun = 16;

/// The interval by the restart markers: how many MCUs most of those of the first segments hold that end with
/// their last bit. 0 if there are none.
[[nodiscard]] unsigned infer_interval(const ScanData& data, const McuDecoder& decoder);

} // namespace still_mend
