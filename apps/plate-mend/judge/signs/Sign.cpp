#include "judge/signs/Sign.h"

#include <utility>

namespace plate_mend::host {

namespace {

std::string describe_rows(std::size_t first, std::size_t count) {
    return count == 1 ? "row " + std::to_string(first)
                      : std::to_string(count) + " rows from row " + std::to_string(first) + " on";
}

} // namespace

Sign sign_of_rows(std::vector<std::size_t> rows, const std::string& what) {
    if (rows.empty()) {
        return {};
    }
    std::string finding = what + ": " + describe_rows(rows.front(), rows.size());
    return {std::move(finding), std::move(rows), std::nullopt};
}

} // namespace plate_mend::host
