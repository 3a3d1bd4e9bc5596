#include "judge/signs/Sign.h"

#include <algorithm>
#include <utility>

namespace plate_mend::host {

namespace {

std::string describe_rows(std::size_t first, std::size_t count) {
    return count == 1 ? "row " + std::to_string(first)
                      : std::to_string(count) + " rows from row " + std::to_string(first) + " on";
}

} // namespace

bool is_any_marked(const std::vector<bool>& marks, std::size_t first, std::size_t end) {
    const auto place = [&](std::size_t row) {
        return marks.begin() + static_cast<std::ptrdiff_t>(std::min(row, marks.size()));
    };
    return first < end && std::find(place(first), place(end), true) != place(end);
}

Sign sign_of_rows(std::vector<std::size_t> rows, const std::string& what) {
    if (rows.empty()) {
        return {};
    }
    std::string finding = what + ": " + describe_rows(rows.front(), rows.size());
    return {std::move(finding), std::move(rows), std::nullopt};
}

} // namespace plate_mend::host
