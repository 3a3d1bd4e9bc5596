#include "PairLaboratory.h"

#include "support/RealFiles.h"
#include "support/TempDir.h"

#include <plate_mend/plate_mend.h>

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>

// raw_mend_laboratory                       prints the totals and the table of docs/measurements/raw-pairs.md
// raw_mend_laboratory --page FILE           writes them to that page, in place of those that are there
// raw_mend_laboratory --rows                prints the head of the table and the first cell of each row
// raw_mend_laboratory --seeds COUNT [KIND]  prints each cell whose picture is another, for seeds from 0 on,
// and
//                                           the totals; of kinds whose names begin so
// raw_mend_laboratory --shares COUNT [KIND [PHOTOGRAPH]]
//                                           prints the share of right pixels and the promised share of each
//                                           trial, likewise, of photographs whose names hold this

namespace {

using namespace test;

constexpr const char* kFirstMadeLine = "## Totals";

/// Trials of one class of damage.
struct Totals {
    std::size_t trials = 0;
    std::size_t exact = 0;
    std::size_t false_claims = 0;
    std::size_t by_place = 0; // Not among the false claims.

    void count(const PairTrial& trial) {
        ++trials;
        exact += trial.exact ? 1U : 0U;
        by_place += trial.proved_by_place() ? 1U : 0U;
        false_claims += trial.false_claim() && !trial.proved_by_place() ? 1U : 0U;
    }
};

/// Those of the sample's camera by what survives, and those of other cameras.
struct AllTotals {
    std::map<Survival, Totals> same_camera;
    Totals other_cameras;
    std::size_t repaired_with_others = 0;

    void count(const RealPair& pair, const PairTrial& trial) {
        if (pair.same_camera()) {
            same_camera[trial.survival].count(trial);
        } else {
            other_cameras.count(trial);
            repaired_with_others += trial.repaired ? 1U : 0U;
        }
    }

    [[nodiscard]] std::string text() const {
        static const std::map<Survival, const char*> kNames{
            {Survival::kWhole, "Every image byte survives, each piece in one run"},
            {Survival::kTorn, "Every image byte survives, but pieces are torn"},
            {Survival::kLost, "Image bytes are lost"}};
        std::ostringstream out;
        for (const auto& [survival, totals] : same_camera) {
            out << "- " << kNames.at(survival) << ": " << totals.exact << " of " << totals.trials
                << " exact, " << totals.false_claims << " false claims";
            if (survival != Survival::kWhole) {
                out << ", " << totals.by_place << " proved by place only";
            }
            out << ".\n";
        }
        out << "- A sample of another camera: " << repaired_with_others << " of " << other_cameras.trials
            << " repaired.\n";
        return out.str();
    }
};

std::string head_of(const std::vector<std::string>& columns) {
    std::string head = "| Damage |";
    std::string rule = "|---|";
    for (const std::string& column : columns) {
        head += ' ' + column + " |";
        rule += "---|";
    }
    return head + '\n' + rule + '\n';
}

void print_rows() {
    std::cout << head_of({});
    for (const RawDamage& kind : raw_damages()) {
        std::cout << "| " << kind.name << " |\n";
    }
}

/// Whether the library for single formats repairs the photograph to the original's picture.
bool library_repairs(const RealPair& pair, const RawDamage& kind) {
    const TempDir folder;
    const std::string extension = std::filesystem::path(pair.damaged->name).extension().string();
    const auto path = [&](const char* name) { return folder / (name + extension); };
    write_file(path("damaged"), damage(pair, kind, 0).bytes);
    write_file(path("sample"), pair.sample->bytes);
    const std::string work = utf8(folder.path());
    MndRawInit((work + "/missing").c_str(), work.c_str(), work.c_str()); // No log.
    const auto code = MndRawAdvanceRepair(utf8(path("damaged")).c_str(), utf8(path("sample")).c_str(),
                                          utf8(path("output")).c_str());
    return code == PLATE_MEND_OK && decode_raw(path("output")) == pair.damaged->picture;
}

/// Pairs, and what is known of their samples.
class Laboratory {
  public:
    explicit Laboratory(const std::filesystem::path& folder)
        : photographs_(real_photographs(folder)), pairs_(real_pairs(photographs_)) {
        for (const RealPhotograph& photograph : photographs_) {
            samples_.emplace(&photograph, raw_mend::Sample::read(photograph.bytes));
        }
    }

    /// What the page has after its text.
    std::string totals_and_table() {
        std::vector<std::string> columns;
        for (const RealPair& pair : pairs_) {
            if (pair.same_camera()) {
                columns.push_back(column_of(pair));
            }
        }
        columns.insert(columns.end(), {"exact", "before: exact"});
        std::string table = head_of(columns);
        for (const RawDamage& kind : raw_damages()) {
            table += row_of(kind) + '\n';
            std::cerr << kind.name << '\n';
        }
        return std::string(kFirstMadeLine) + "\n\n" + totals_.text() +
               "- Before this engine, all of these: " + std::to_string(before_) + " of " +
               std::to_string(before_trials_) + " exact.\n\n## The table\n\n" + table;
    }

    void print_failures(unsigned seeds, const std::string& kinds) {
        for (const RawDamage& kind : raw_damages()) {
            if (kind.name.rfind(kinds, 0) != 0) {
                continue;
            }
            for (const RealPair& pair : pairs_) {
                for (unsigned seed = 0; seed < seeds && applies(kind, pair); ++seed) {
                    const PairTrial trial = run(pair, kind, seed);
                    if (pair.same_camera() ? !trial.exact : trial.repaired) {
                        std::cout << kind.name << ", seed " << seed << ": " << column_of(pair) << ": "
                                  << cell_of(trial) << std::endl;
                    }
                }
            }
        }
        std::cout << totals_.text();
    }

    void print_shares(unsigned seeds, const std::string& kinds, const std::string& photographs) {
        for (const RawDamage& kind : raw_damages()) {
            for (const RealPair& pair : pairs_) {
                if (kind.name.rfind(kinds, 0) != 0 || !pair.same_camera() ||
                    pair.damaged->name.find(photographs) == std::string::npos) {
                    continue;
                }
                for (unsigned seed = 0; seed < seeds && applies(kind, pair); ++seed) {
                    const auto begin = std::chrono::steady_clock::now();
                    const PairTrial trial = run(pair, kind, seed);
                    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
                    std::cout << kind.name << ", seed " << seed << ": " << column_of(pair) << ": "
                              << cell_of(trial) << ", right " << trial.share << ", promised "
                              << trial.promised << (trial.promised > trial.share + 0.005 ? " TOO MUCH" : "")
                              << ", " << time.count() << " s" << std::endl;
                }
            }
        }
    }

  private:
    std::string row_of(const RawDamage& kind) {
        std::string row = "| " + kind.name + " |";
        std::size_t trials = 0;
        std::size_t exact = 0;
        std::size_t before = 0;
        for (const RealPair& pair : pairs_) {
            const bool counts = applies(kind, pair);
            const PairTrial trial = counts ? run(pair, kind, 0) : PairTrial{};
            if (!pair.same_camera()) {
                continue;
            }
            row += counts ? ' ' + cell_of(trial) + " |" : " |";
            trials += counts ? 1U : 0U;
            exact += trial.exact ? 1U : 0U;
            before += counts && library_repairs(pair, kind) ? 1U : 0U;
        }
        before_ += before;
        before_trials_ += trials;
        const std::string of = " of " + std::to_string(trials) + " |";
        return row + ' ' + std::to_string(exact) + of + ' ' + std::to_string(before) + of;
    }

    PairTrial run(const RealPair& pair, const RawDamage& kind, unsigned seed) {
        const auto& sample = samples_.at(pair.sample);
        PairTrial trial;
        if (sample) {
            trial = run_pair_trial(pair, *sample, kind, seed);
        } else {
            trial.survival = damage(pair, kind, seed).survival;
        }
        totals_.count(pair, trial);
        return trial;
    }

    std::vector<RealPhotograph> photographs_;
    std::vector<RealPair> pairs_;
    std::map<const RealPhotograph*, std::optional<raw_mend::Sample>> samples_;
    AllTotals totals_;
    std::size_t before_ = 0;
    std::size_t before_trials_ = 0;
};

/// Keeps the lines of a page that are written by hand, and writes the others anew.
void write_page(const std::filesystem::path& path, const std::string& made) {
    std::string kept;
    {
        std::ifstream page(path);
        for (std::string line; std::getline(page, line) && line != kFirstMadeLine;) {
            kept += line + '\n';
        }
    }
    std::ofstream(path) << kept << made;
}

int usage() {
    std::cerr << "usage: raw_mend_laboratory [--rows | --page FILE | --seeds COUNT [KIND] |\n"
                 "                            --shares COUNT [KIND [PHOTOGRAPH]]]\n";
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments == std::vector<std::string>{"--rows"}) {
        print_rows();
        return 0;
    }
    const auto folder = real_folder();
    if (!folder) {
        std::cerr << "needs real camera files: configure with PLATE_MEND_SAMPLES_DIR\n";
        return 1;
    }
    Laboratory laboratory(*folder);
    if (arguments.empty()) {
        std::cout << laboratory.totals_and_table();
    } else if (arguments[0] == "--page" && arguments.size() == 2) {
        write_page(arguments[1], laboratory.totals_and_table());
    } else if (arguments[0] == "--seeds" && (arguments.size() == 2 || arguments.size() == 3)) {
        laboratory.print_failures(static_cast<unsigned>(std::strtoul(arguments[1].c_str(), nullptr, 10)),
                                  arguments.size() == 3 ? arguments[2] : "");
    } else if (arguments[0] == "--shares" && arguments.size() >= 2 && arguments.size() <= 4) {
        laboratory.print_shares(static_cast<unsigned>(std::strtoul(arguments[1].c_str(), nullptr, 10)),
                                arguments.size() >= 3 ? arguments[2] : "",
                                arguments.size() == 4 ? arguments[3] : "");
    } else {
        return usage();
    }
    return 0;
}
