#include "header/Hypothesis.h"

namespace still_mend {

Tables Hypothesis::decoding_tables() const {
    Tables tables = candidate.tables;
    if (!from_start || quant_guessed) {
        for (auto& table : tables.quant) {
            if (table) {
                table->values.fill(1);
            }
        }
    }
    return tables;
}

} // namespace still_mend
