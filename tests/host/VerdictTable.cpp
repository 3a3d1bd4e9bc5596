#include "host/VerdictLaboratory.h"

#include <algorithm>
#include <iomanip>
#include <iostream>
#include <map>
#include <string>
#include <utility>
#include <vector>

// verdict_laboratory                        prints the table of docs/measurements/verdict-laboratory.md
// verdict_laboratory --rows                 prints the head of that table and the first cell of each row
// verdict_laboratory --only TEXT [DAMAGE]   the cameras and damages whose names contain the texts, with why
// verdict_laboratory --real [DAMAGE]        the same for real pairs, where their folder is known

namespace {

using test::LaboratoryResult;

constexpr unsigned kSeeds = 3;

bool contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// The table as it grows.
class Table {
  public:
    explicit Table(bool with_reasons) : with_reasons_(with_reasons) {}

    void add(const std::string& column, unsigned seed, const std::vector<LaboratoryResult>& results) {
        if (std::find(columns_.begin(), columns_.end(), column) == columns_.end()) {
            columns_.push_back(column);
        }
        for (const LaboratoryResult& result : results) {
            cells_[result.damage][column] += result.letter();
            ++counts_[result.letter()];
            if (with_reasons_) {
                print_reasons(column, seed, result);
            }
        }
    }

    void print() const {
        std::cout << "| Damage |";
        std::string rule = "|---|";
        for (const std::string& column : columns_) {
            std::cout << ' ' << column << " |";
            rule += "---|";
        }
        std::cout << '\n' << rule << '\n';
        for (const test::VerdictDamage& damage : test::verdict_damages()) {
            const auto row = cells_.find(damage.name);
            if (row != cells_.end()) {
                print_row(damage.name, row->second);
            }
        }
        std::cout << '\n';
        for (const auto& [letter, count] : counts_) {
            std::cout << letter << ": " << count << '\n';
        }
    }

  private:
    void print_row(const std::string& name, const std::map<std::string, std::string>& row) const {
        std::cout << "| " << name << " |";
        for (const std::string& column : columns_) {
            const auto cell = row.find(column);
            std::cout << ' ' << (cell == row.end() ? "-" : cell->second) << " |";
        }
        std::cout << '\n';
    }

    static void print_reasons(const std::string& column, unsigned seed, const LaboratoryResult& result) {
        std::cerr << std::fixed << std::setprecision(4) << result.letter() << ' ' << column << ", "
                  << result.damage << ", seed " << seed << ": " << name_of(result.record.verdict)
                  << " promised " << result.promised().value_or(-1) << " true " << result.true_share()
                  << " wrong " << result.distance.wrong << (result.distance.wrong_area ? " in areas" : "")
                  << '\n';
        for (const auto& attempt : result.record.attempts) {
            std::cerr << "    " << (attempt.taken ? "* " : "  ") << attempt.engine << " code "
                      << attempt.code.value_or(1) << ' ' << attempt.problem << '\n';
            for (const auto& finding : attempt.judgement.findings) {
                std::cerr << "        " << finding << '\n';
            }
        }
    }

    bool with_reasons_;
    std::vector<std::string> columns_;
    std::map<std::string, std::map<std::string, std::string>> cells_;
    std::map<char, unsigned> counts_;
};

void print_rows() {
    std::string head = "| Damage |";
    std::string rule = "|---|";
    for (const test::LaboratoryCamera& camera : test::laboratory_cameras()) {
        head += ' ' + camera.name + " |";
        rule += "---|";
    }
    std::cout << head << '\n' << rule << '\n';
    for (const test::VerdictDamage& damage : test::verdict_damages()) {
        std::cout << "| " << damage.name << " |\n";
    }
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments == std::vector<std::string>{"--rows"}) {
        print_rows();
        return 0;
    }
    const bool real = !arguments.empty() && arguments[0] == "--real";
    const std::string camera = !real && arguments.size() > 1 ? arguments[1] : "";
    const std::size_t place = real ? 1 : 2;
    const std::string wanted = arguments.size() > place ? arguments[place] : "";
    const auto chooses = [&](const test::VerdictDamage& damage) { return contains(damage.name, wanted); };
    Table table(!arguments.empty());
    for (unsigned seed = 1; seed <= kSeeds; ++seed) {
        if (real) {
            for (const test::RealShots& shots : test::real_shots()) {
                table.add(shots.name, seed, run_laboratory(shots, seed, chooses));
            }
            continue;
        }
        for (const test::LaboratoryCamera& one : test::laboratory_cameras()) {
            if (contains(one.name, camera)) {
                table.add(one.name, seed, run_laboratory(one, seed, chooses));
            }
        }
    }
    table.print();
    return 0;
}
