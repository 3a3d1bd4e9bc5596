#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace plate_mend::host {

/// A place from which the data are displaced or mean something else.
struct Displaced {
    std::size_t from_row = 0;
    bool begins_there =
        false; ///< The displacement begins in that row; otherwise it only shows from there on.
};

/// One kind of damage in the sensor data.
struct Sign {
    std::string finding;               ///< In words; empty: none of this kind.
    std::vector<std::size_t> bad_rows; ///< Ascending.
    std::optional<Displaced> displaced;
};

/// Whether any of the rows [first, end) is marked, one mark per row. Rows past the last are not.
[[nodiscard]] bool is_any_marked(const std::vector<bool>& marks, std::size_t first, std::size_t end);

/// The sign of these bad rows, ascending, in one sentence: "WHAT: 3 rows from row 7 on". None without rows.
[[nodiscard]] Sign sign_of_rows(std::vector<std::size_t> rows, const std::string& what);

} // namespace plate_mend::host
