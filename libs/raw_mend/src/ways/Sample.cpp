#include "ways/Sample.h"

#include "container/Describe.h"

#include <utility>

namespace raw_mend {

std::optional<Sample> Sample::read(Bytes file) {
    auto description = describe(file);
    if (!description || description->raw.pieces.empty()) {
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
