#include "judge/GoodRows.h"

#include <algorithm>

namespace plate_mend::host {

namespace {

/// A picture is bad from the beginning if its first bad row is within the first one in this many rows.
constexpr std::size_t kBeginning = 50;

/// In such a picture, rows look good by chance if they are fewer than one in this many.
constexpr std::size_t kChance = 3;

std::size_t first_bad_row(const std::vector<bool>& bad_rows) {
    return static_cast<std::size_t>(std::find(bad_rows.begin(), bad_rows.end(), true) - bad_rows.begin());
}

std::size_t count_bad_rows(const std::vector<bool>& bad_rows, std::size_t end) {
    return static_cast<std::size_t>(
        std::count(bad_rows.begin(), bad_rows.begin() + static_cast<std::ptrdiff_t>(end), true));
}

/// One past the last row that may be good, where each row takes the same number of bytes; nothing when that
/// is unknown.
std::optional<std::size_t> end_by_length(const RowEvidence& evidence, std::size_t rows) {
    const PixelSigns& signs = evidence.signs;
    const bool displaced = evidence.place_unknown || evidence.lost_inside || signs.displaced_from;
    if (displaced && !signs.place_is_known) {
        return std::nullopt;
    }
    return std::min(rows, static_cast<std::size_t>(*evidence.rows_there));
}

/// The same for compressed data: damage there shows late, and nothing proves the rows before it.
std::optional<std::size_t> end_in_compressed_data(const RowEvidence& evidence, std::size_t first_bad,
                                                  std::size_t rows) {
    const bool in_doubt = evidence.place_unknown || evidence.data_errors || first_bad < rows;
    return in_doubt ? std::nullopt : std::optional(rows);
}

} // namespace

std::optional<double> share_of_good_rows(const RowEvidence& evidence) {
    const PixelSigns& signs = evidence.signs;
    const std::size_t rows = signs.bad_rows.size();
    const std::size_t first_bad = first_bad_row(signs.bad_rows);
    const bool bad_from_beginning = first_bad <= rows / kBeginning;
    if (signs.scattered) {
        return std::nullopt;
    }
    if (evidence.place_unknown && bad_from_beginning) {
        return 0; // Nothing is in its place from the very beginning.
    }
    auto end = evidence.rows_there ? end_by_length(evidence, rows)
                                   : end_in_compressed_data(evidence, first_bad, rows);
    if (!end) {
        // Rows that do not belong together from the beginning on are no photograph.
        const bool no_photograph = evidence.rows_there && bad_from_beginning && signs.displaced_from;
        return no_photograph ? std::optional<double>(0) : std::nullopt;
    }
    if (signs.displaced_from) {
        end = std::min({*end, *signs.displaced_from, first_bad});
    }
    const std::size_t bad = count_bad_rows(signs.bad_rows, *end);
    if (evidence.filled && bad != 0) {
        return std::nullopt; // The loss need not be at the end.
    }
    const std::size_t good = *end - bad;
    if (bad_from_beginning && good * kChance < *end) {
        return 0;
    }
    return static_cast<double>(good) / static_cast<double>(rows);
}

} // namespace plate_mend::host
