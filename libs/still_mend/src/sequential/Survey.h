#pragma once

#include "fit/McuTraces.h"
#include "jpeg/BitReader.h"
#include "jpeg/McuDecoder.h"

#include <cstddef>
#include <vector>

namespace still_mend {

/// The entropy-coded data of one scan, and how its MCUs are to be read.
struct ScanData {
    Bytes file;
    std::size_t first = 0;  ///< Of the entropy-coded data.
    std::size_t limit = 0;  ///< One behind the last byte that can belong to them.
    unsigned interval = 0;  ///< MCUs from restart to restart, 0 without.
    std::size_t total = 0;  ///< MCUs of the picture.
    bool from_start = true; ///< The first byte is that of the first MCU.
};

/// MCUs that decoded one behind the other.
struct Run {
    BitReader start;       ///< At the first of them.
    bool dc_known = true;  ///< It began at a restart or at the scan's first byte.
    int restart = -1;      ///< Number of the restart marker in front, -1 for none.
    bool adjacent = false; ///< The run before ended at that marker.
    bool closes = false;   ///< Its bits end with the run, at a marker or at the limit.
    bool at_eoi = false;   ///< And that marker is EOI.
    bool cut = false;      ///< Its data end with the limit: what is there is good to the end.
    std::size_t trace = 0; ///< Of the first MCU.
    std::size_t count = 0; ///< MCUs.
    std::size_t begin = 0; ///< Offsets in the file, about.
    std::size_t end = 0;
};

/// What a first pass over the data found, without keeping a coefficient.
struct Survey {
    McuTraces traces;
    std::vector<Run> runs;
    std::size_t end = 0; ///< Behind EOI, or where reading stopped.
};

/// Takes the data apart at restart markers. Each piece between two markers is a run of at most one interval,
/// whatever its fate; a piece behind another marker than a restart is left out. Reads each byte once or
/// twice.
[[nodiscard]] Survey survey_restarts(const ScanData& data, const McuDecoder& decoder, McuTraces traces);

/// Reads data without restarts to the end. Behind bits that do not decode it goes on where it stopped:
/// Huffman codes fall into step again by themselves. Runs of fewer than kMinRun MCUs are dropped, but for the
/// first.
[[nodiscard]] Survey survey_plain(const ScanData& data, const McuDecoder& decoder, McuTraces traces);

inline constexpr std::size_t kMinRun = 16;

/// The interval that the restart markers tell: how many MCUs most of the first pieces hold that end with
/// their last bit. 0 where there are none.
[[nodiscard]] unsigned infer_interval(const ScanData& data, const McuDecoder& decoder);

} // namespace still_mend
