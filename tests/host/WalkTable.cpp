#include "host/Walk.h"

#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>

// Prints the table of docs/measurements/verdicts.md. With --findings it also prints why, for one format if one
// is named; with --pairs it writes a pair of photographs to a folder instead.

namespace {

using plate_mend::host::Verdict;
using test::WalkResult;

std::string cell(const WalkResult& result) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << name_of(result.record.verdict);
    if (result.record.verdict == Verdict::kPartial) {
        const auto rows = result.record.taken()->judgement.rows_good;
        text << ' ';
        rows ? text << *rows : text << '?';
        text << " (" << result.rows_same << ')';
    }
    text << (result.false_whole() ? " FALSE WHOLE" : "") << (result.too_strict() ? " TOO STRICT" : "")
         << (result.too_rosy() ? " TOO ROSY" : "");
    return text.str();
}

/// A pair of one format into a folder: "sample.arw" and "damaged.arw", its head lost.
int make_pair(const std::filesystem::path& folder) {
    const test::Pair pair = test::formats().front().make({.large = true});
    test::write_file(folder / "sample.arw", pair.sample);
    test::write_file(folder / "damaged.arw", test::zeroed(pair.original, 0, pair.lost));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 3 && std::string(argv[1]) == "--pairs") {
        return make_pair(argv[2]);
    }
    const bool talkative = argc > 1 && std::string(argv[1]) == "--findings";
    std::map<std::string, std::map<std::string, std::string>> cells;
    std::string head = "| Damage |";
    std::string rule = "|---|";
    for (const test::Format& format : test::formats()) {
        if (std::string(format.extension) == "raw" ||
            (argc > 2 && std::string(argv[2]) != format.extension)) {
            continue; // raw is the same as arw.
        }
        head += std::string(" ") + format.extension + " |";
        rule += "---|";
        for (const WalkResult& result : test::walk(format)) {
            cells[result.harm][format.extension] = cell(result);
            if (talkative) {
                std::cerr << format.extension << ", " << result.harm << ": " << cell(result) << '\n';
                for (const auto& attempt : result.record.attempts) {
                    std::cerr << "    code " << attempt.code.value_or(1) << ' ' << attempt.problem << '\n';
                    for (const auto& finding : attempt.judgement.findings) {
                        std::cerr << "    " << finding << '\n';
                    }
                }
                std::cerr << "    " << result.record.problem << '\n';
            }
        }
    }
    std::cout << head << '\n' << rule << '\n';
    for (const test::Harm& harm : test::harms()) {
        std::cout << "| " << harm.name << " |";
        for (const test::Format& format : test::formats()) {
            if (std::string(format.extension) != "raw") {
                const std::string& text = cells[harm.name][format.extension];
                std::cout << ' ' << (text.empty() ? "-" : text) << " |";
            }
        }
        std::cout << '\n';
    }
    return 0;
}
