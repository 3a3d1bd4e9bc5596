#include "ways/Sample.h"

#include "container/Describe.h"

#include <algorithm>
#include <utility>

namespace raw_mend {

std::optional<Sample> Sample::read(Bytes file) {
    auto description = describe(file);
    const auto is_within = [&](const Piece& piece) { return piece.data.is_within(file); };
    if (!description || description->raw.pieces.empty() ||
        !std::ranges::all_of(description->raw.pieces, is_within)) {
        return std::nullopt;
    }
    auto rows = rows_of(description->raw);
    if (rows && !rows->extent.is_within(file)) {
        rows.reset();
    }
    const RowTraits traits = rows ? measure_row_traits(rows->extent.of(file), rows->geometry) : RowTraits{};
    return Sample{file, std::move(*description), std::move(rows), traits};
}

} // namespace raw_mend
