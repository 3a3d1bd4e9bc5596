#include "e2e/RepairLog.h"

#include <map>

namespace test {

namespace {

struct Texts {
    std::string folder; ///< Below src.
    std::string name;   ///< The source file's and the class's.
    std::string cloned;
    std::string repaired;
};

// The texts as they are, the slips in them too: RAF has the words of another format.
const std::map<std::string_view, Texts>& all_texts() {
    static const std::map<std::string_view, Texts> texts{
        {"arw", {"ARW", "ArwRepair", "arw file clone success", "arw advanced repair success!"}},
        {"sr2", {"SR2", "Sr2Repair", "sr2 file clone success", "sr2 advanced repair success!"}},
        {"raf", {"RAF", "RafRepair", "orf file clone success", "raf advanced repair success!"}},
        {"orf", {"ORF", "OrfRepair", "orf file clone success", "orf advanced repair success!"}},
        {"dng", {"DNG", "DngRepair", "dng file clone success", "DNG repaired success"}},
        {"cr2", {"CR2", "Cr2Repair", "cr2 file clone success", "CR2 repaired success"}},
        {"nef", {"NEF", "NefRepair", "nef file clone success", "nef repaired success"}},
        {"cr3", {"CR3", "Cr3Repair", "", "cr3 file advanced repair successfully"}},
    };
    return texts;
}

} // namespace

RepairLog repair_log(std::string_view extension) {
    const Texts& texts = all_texts().at(extension);
    const std::string function = texts.name + "::AdvanceRepair";
    return {"src/" + texts.folder + "/" + texts.name + ".cpp", function,
            InformationLine(function, texts.cloned), InformationLine(function, texts.repaired)};
}

} // namespace test
