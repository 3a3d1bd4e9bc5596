#include "locate/CellRuns.h"

#include "coding/Cells.h"

#include <algorithm>
#include <tuple>

namespace raw_mend {

std::vector<ByteRange> find_cell_runs(Bytes file, std::size_t least_cells) {
    std::vector<ByteRange> runs;
    for (std::size_t phase = 0; phase < kCellBytes; ++phase) {
        std::size_t begin = phase;
        for (std::size_t at = phase; at <= file.size(); at += kCellBytes) {
            const bool ends = at + kCellBytes > file.size();
            if (!ends && is_cell(file.data() + at)) {
                continue;
            }
            if ((at - begin) / kCellBytes >= least_cells) {
                runs.push_back({begin, at});
            }
            begin = at + kCellBytes;
            if (ends) {
                break;
            }
        }
    }
    std::ranges::sort(runs, {}, [](const ByteRange& run) { return std::tuple(run.begin, run.end); });
    return runs;
}

} // namespace raw_mend
