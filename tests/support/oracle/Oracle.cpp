#include "support/oracle/Oracle.h"

#include <stdexcept>

namespace test::oracle {

const std::vector<Format>& formats() {
    // The two codes at the head of each block are for a missing input and for a working copy that does not
    // open.
    static const std::vector<Format> all{
        {"arw", -1122, -1126, repaired_arw}, {"sr2", -1132, -1136, repaired_sr2},
        {"raf", -1152, -1156, repaired_raf}, {"orf", -1142, -1147, repaired_orf},
        {"dng", -1023, -1026, repaired_dng}, {"cr2", -1052, -1054, repaired_cr2},
        {"nef", -1062, -1065, repaired_nef}, {"cr3", -1091, -1095, repaired_cr3},
    };
    return all;
}

const Format& format_of(std::string_view extension) {
    for (const Format& format : formats()) {
        if (format.extension == extension) {
            return format;
        }
    }
    throw std::out_of_range("format_of");
}

} // namespace test::oracle
