#include "host/Walk.h"

#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

// host_walk                      prints the table of docs/measurements/verdicts.md
// host_walk --findings [FORMAT]  also prints why, for one format if one is named
// host_walk --rows               prints the head of the table and the first cell of each row
// host_walk --pairs FOLDER       writes a pair of photographs to a folder instead

namespace {

using plate_mend::host::Verdict;
using test::WalkResult;

std::string cell(const WalkResult& result) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(2) << name_of(result.record.verdict);
    if (result.record.verdict == Verdict::kPartial) {
        const auto share = result.promised();
        text << ' ';
        share ? text << *share : text << '?';
        text << " (" << result.true_share() << ')';
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

/// The formats that have a column.
std::vector<test::Format> columns(const std::string& only) {
    std::vector<test::Format> some;
    for (const test::Format& format : test::formats()) {
        const std::string extension = format.extension;
        if (extension != "raw" && (only.empty() || only == extension)) { // raw is the same as arw.
            some.push_back(format);
        }
    }
    return some;
}

void print_head(const std::vector<test::Format>& formats) {
    std::string rule = "|---|";
    std::cout << "| Damage |";
    for (const test::Format& format : formats) {
        std::cout << ' ' << format.extension << " |";
        rule += "---|";
    }
    std::cout << '\n' << rule << '\n';
}

void print_rows() {
    print_head(columns(""));
    for (const test::Harm& harm : test::harms()) {
        std::cout << "| " << harm.name << " |\n";
    }
}

void print_findings(const WalkResult& result) {
    std::cerr << result.format << ", " << result.harm << ": " << cell(result) << '\n';
    for (const auto& attempt : result.record.attempts) {
        std::cerr << "    code " << attempt.code.value_or(1) << ' ' << attempt.problem << '\n';
        for (const auto& finding : attempt.judgement.findings) {
            std::cerr << "    " << finding << '\n';
        }
    }
    std::cerr << "    " << result.record.problem << '\n';
}

void print_table(const std::vector<test::Format>& formats, bool with_findings) {
    std::map<std::string, std::map<std::string, std::string>> cells;
    for (const test::Format& format : formats) {
        for (const WalkResult& result : test::walk(format)) {
            cells[result.harm][format.extension] = cell(result);
            if (with_findings) {
                print_findings(result);
            }
        }
    }
    print_head(formats);
    for (const test::Harm& harm : test::harms()) {
        std::cout << "| " << harm.name << " |";
        for (const test::Format& format : formats) {
            const std::string& text = cells[harm.name][format.extension];
            std::cout << ' ' << (text.empty() ? "-" : text) << " |";
        }
        std::cout << '\n';
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    const std::string option = arguments.empty() ? "" : arguments[0];
    if (option == "--pairs" && arguments.size() == 2) {
        return make_pair(arguments[1]);
    }
    if (option == "--rows") {
        print_rows();
        return 0;
    }
    const bool with_findings = option == "--findings";
    print_table(columns(with_findings && arguments.size() > 1 ? arguments[1] : ""), with_findings);
    return 0;
}
