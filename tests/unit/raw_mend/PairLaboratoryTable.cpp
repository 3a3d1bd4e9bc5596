#include "PairLaboratory.h"

#include "support/RealFiles.h"

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <map>

// raw_mend_laboratory                        prints the totals and the table of
// docs/measurements/raw-pairs.md raw_mend_laboratory --rows                 prints the head of the table and
// the first cell of each row raw_mend_laboratory --seeds COUNT [KIND]   prints each cell whose picture is
// another, for seeds from 0 on, and
//                                            the totals; of kinds whose names begin so

namespace {

using namespace test;

/// Trials of one class of damage.
struct Totals {
    std::size_t trials = 0;
    std::size_t exact = 0;
    std::size_t false_claims = 0;
    std::size_t by_place = 0; // Of them.

    void count(const PairTrial& trial) {
        ++trials;
        exact += trial.exact ? 1U : 0U;
        false_claims += trial.false_claim() ? 1U : 0U;
        by_place += trial.proved_by_place() ? 1U : 0U;
    }
};

/// Same camera by survival, and other cameras.
struct AllTotals {
    std::map<Survival, Totals> same_camera;
    Totals other_cameras;
    std::size_t claims_of_others = 0; // Repaired at all.

    void count(const RealPair& pair, const PairTrial& trial) {
        if (pair.same_camera()) {
            same_camera[trial.survival].count(trial);
        } else {
            other_cameras.count(trial);
            claims_of_others += trial.repaired ? 1U : 0U;
        }
    }

    void print() const {
        static const std::map<Survival, const char*> kNames{
            {Survival::kWhole, "Every image byte survives, each piece in one run"},
            {Survival::kTorn, "Every image byte survives, but pieces are torn"},
            {Survival::kLost, "Image bytes are lost"}};
        for (const auto& [survival, totals] : same_camera) {
            std::cout << "- " << kNames.at(survival) << ": " << totals.exact << " of " << totals.trials
                      << " exact, " << totals.false_claims - totals.by_place << " false claims";
            if (survival != Survival::kWhole) {
                std::cout << ", and " << totals.by_place << " proved only by place";
            }
            std::cout << '\n';
        }
        std::cout << "- Sample of another camera: " << claims_of_others << " of " << other_cameras.trials
                  << " repaired\n";
    }
};

void print_head(const std::vector<RealPair>& pairs) {
    std::cout << "| Damage |";
    for (const RealPair& pair : pairs) {
        std::cout << ' ' << column_of(pair) << " |";
    }
    std::cout << "\n|---|";
    for (std::size_t nth = 0; nth < pairs.size(); ++nth) {
        std::cout << "---|";
    }
    std::cout << '\n';
}

void print_rows() {
    print_head({});
    for (const RawDamage& kind : raw_damages()) {
        std::cout << "| " << kind.name << " |\n";
    }
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

    void print_table() {
        std::vector<RealPair> columns;
        for (const RealPair& pair : pairs_) {
            if (pair.same_camera()) {
                columns.push_back(pair);
            }
        }
        print_head(columns);
        for (const RawDamage& kind : raw_damages()) {
            std::cout << "| " << kind.name << " |";
            for (const RealPair& pair : pairs_) {
                const std::string cell = applies(kind, pair) ? cell_of(run(pair, kind, 0)) : "";
                if (pair.same_camera()) {
                    std::cout << ' ' << cell << " |" << std::flush;
                }
            }
            std::cout << '\n';
        }
        std::cout << '\n';
        totals_.print();
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
        totals_.print();
    }

  private:
    PairTrial run(const RealPair& pair, const RawDamage& kind, unsigned seed) {
        const auto& sample = samples_.at(pair.sample);
        const PairTrial trial = sample ? run_pair_trial(pair, *sample, kind, seed) : PairTrial{};
        totals_.count(pair, trial);
        return trial;
    }

    std::vector<RealPhotograph> photographs_;
    std::vector<RealPair> pairs_;
    std::map<const RealPhotograph*, std::optional<raw_mend::Sample>> samples_;
    AllTotals totals_;
};

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
        laboratory.print_table();
        return 0;
    }
    if (arguments[0] == "--seeds" && (arguments.size() == 2 || arguments.size() == 3)) {
        laboratory.print_failures(static_cast<unsigned>(std::strtoul(arguments[1].c_str(), nullptr, 10)),
                                  arguments.size() == 3 ? arguments[2] : "");
        return 0;
    }
    std::cerr << "usage: raw_mend_laboratory [--rows | --seeds COUNT [KIND]]\n";
    return 2;
}
