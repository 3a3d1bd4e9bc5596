#include "Harness.h"

#include "ARW/ArwRepair.h"
#include "CR2/Cr2Repair.h"
#include "CR3/Cr3Repair.h"
#include "DNG/DngRepair.h"
#include "NEF/NefRepair.h"
#include "ORF/OrfRepair.h"
#include "RAF/RafRepair.h"
#include "SR2/Sr2Repair.h"
#include "api/Extension.h"
#include "api/RepairRegistry.h"

#include <plate_mend/plate_mend.h>
#include <still_mend/still_mend.h>

#include <system_error>
#include <typeinfo>
#include <vector>

// A path leads to the repairer given by its last bytes alone, and reaches the salvager unchanged or not at
// all.

namespace {

using namespace plate_mend;

struct Row {
    std::string end; ///< Of the path, in lower case.
    const std::type_info& repairer;
};

const std::vector<Row>& rows() {
    static const std::vector<Row> all{
        {".arw", typeid(ArwRepair)}, {".raw", typeid(ArwRepair)}, {".sr2", typeid(Sr2Repair)},
        {".raf", typeid(RafRepair)}, {".dng", typeid(DngRepair)}, {".cr2", typeid(Cr2Repair)},
        {".nef", typeid(NefRepair)}, {".orf", typeid(OrfRepair)}, {".cr3", typeid(Cr3Repair)}};
    return all;
}

/// The last four bytes, with A to Z in lower case.
std::string lowered_end(const std::string& path) {
    std::string end = path.size() < 4 ? path : path.substr(path.size() - 4);
    for (char& letter : end) {
        if (letter >= 'A' && letter <= 'Z') {
            letter = static_cast<char>(letter + ('a' - 'A'));
        }
    }
    return end;
}

/// The arguments of the last call of the salvager.
std::vector<std::string> salvaged;

std::string complaint(const std::string& path) {
    const std::type_info* expected = nullptr;
    for (const Row& row : rows()) {
        if (lowered_end(path) == row.end) {
            expected = &row.repairer;
        }
    }
    const auto repairer = RepairRegistry::instance().create(lower_case_extension(path));
    if ((repairer != nullptr) != (expected != nullptr)) {
        return repairer ? "a repairer where there is none" : "no repairer";
    }
    if (repairer != nullptr) {
        const AbstractRepair& made = *repairer;
        if (typeid(made) != *expected) {
            return "another repairer";
        }
    }

    salvaged.clear();
    constexpr std::int32_t kAnswer = -77;
    std::int32_t code = kAnswer;
    bool refused = false;
    try {
        code = MndRawGeneralRepair(path.c_str(), "output");
    } catch (const std::system_error&) { // Not UTF-8.
        refused = true;
    }
    const bool reached = salvaged == std::vector<std::string>{path, "output"};
    if (expected == nullptr) {
        return code == PLATE_MEND_UNKNOWN && !refused && salvaged.empty() ? ""
                                                                          : "a salvage without a repairer";
    }
    if (refused) {
        return salvaged.empty() ? "" : "a salvage of a path that was refused";
    }
    return reached && code == kAnswer ? "" : "the path was not passed on unchanged";
}

} // namespace

int32_t MndJpegGeneralRepair(const char* damaged_file, const char* output_file) {
    salvaged = {damaged_file, output_file};
    return -77;
}

int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    fuzz::stop_on(complaint(text.substr(0, text.find('\0'))));
    return 0;
}
