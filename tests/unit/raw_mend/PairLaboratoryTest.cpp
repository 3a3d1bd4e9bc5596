#include "PairLaboratory.h"

#include "support/DngPhoto.h"
#include "support/RealFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <sstream>

// That the laboratory's damages are what they say, and that its page is current.

namespace test {
namespace {

constexpr std::size_t kImage = 1000;
constexpr std::size_t kEnd = 1000000;

RawLayout two_pieces() {
    return {{{kImage, 400000}, {400010, kEnd}}, {{10, 10 + 12 * 20}}};
}

TEST(RawDamages, KeepWhatTheySay) {
    const Bytes file = noise(kEnd + 100, 1);
    const Bytes other = DngPhoto().bytes;
    const RawLayout layout = two_pieces();
    std::map<Survival, std::vector<std::string>> names;
    for (const RawDamage& kind : raw_damages()) {
        DamagedRaw damaged(file);
        kind.apply(damaged, {file, layout, other, 0});
        const Bytes bytes = damaged.bytes();
        EXPECT_EQ(bytes.size(), damaged.size()) << kind.name;
        EXPECT_EQ(bytes == file, kind.name == "none") << kind.name;
        const Survival survival = damaged.survival_of(layout);
        names[survival].push_back(kind.name);
        for (const FileRange& piece : layout.pieces) {
            const Bytes image = part(file, piece.begin, piece.end);
            EXPECT_TRUE(survival != Survival::kWhole ||
                        std::search(bytes.begin(), bytes.end(), image.begin(), image.end()) != bytes.end())
                << kind.name;
        }
    }
    EXPECT_THAT(names[Survival::kTorn],
                testing::ElementsAre("cluster put in, 4 KiB", "clusters swapped, 4 KiB",
                                     "cluster put in, 32 KiB", "clusters swapped, 32 KiB"));
    EXPECT_THAT(names[Survival::kLost],
                testing::AllOf(testing::Contains("head zeroed, 4 KiB"), testing::Contains("cut at half"),
                               testing::Contains("cluster noise, 4 KiB"),
                               testing::Contains("cluster lost, 32 KiB")));
    EXPECT_THAT(names[Survival::kWhole], testing::Contains("head zeroed up to the image, displaced by 1000"));
}

TEST(RawDamages, DifferFromSeedToSeedInsideTheImageOnly) {
    const Bytes file = noise(kEnd + 100, 1);
    const RawLayout layout = two_pieces();
    for (const RawDamage& kind : raw_damages()) {
        if (kind.cluster == 0) {
            continue;
        }
        std::vector<Bytes> results;
        for (const unsigned seed : {0U, 1U, 2U, 1U}) {
            DamagedRaw damaged(file);
            kind.apply(damaged, {file, layout, file, seed});
            results.push_back(damaged.bytes());
            EXPECT_EQ(part(results.back(), results.back().size() - 100, results.back().size()),
                      part(file, kEnd, kEnd + 100))
                << kind.name;
        }
        EXPECT_NE(results[0], results[1]) << kind.name;
        EXPECT_NE(results[1], results[2]) << kind.name;
        EXPECT_EQ(results[1], results[3]) << kind.name;
    }
}

TEST(RawDamages, ExchangesClusters) {
    const Bytes file = noise(100, 1);
    DamagedRaw damaged(file);
    damaged.swap(10, 50, 20);
    EXPECT_EQ(damaged.bytes(),
              joined(joined(joined(joined(part(file, 0, 10), part(file, 50, 70)), part(file, 30, 50)),
                            part(file, 10, 30)),
                     part(file, 70, 100)));
    damaged.swap(10, 50, 20);
    EXPECT_EQ(damaged.bytes(), file);
    EXPECT_EQ(damaged.survival_of({{{0, 100}}, {}}), Survival::kWhole);
}

/// Cells by damage and column.
using Cells = std::map<std::string, std::map<std::string, std::string>>;

std::vector<std::string> split_row(const std::string& line) {
    std::vector<std::string> cells;
    std::istringstream row(line.substr(1));
    for (std::string cell; std::getline(row, cell, '|');) {
        const auto first = cell.find_first_not_of(' ');
        cells.push_back(
            first == std::string::npos ? "" : cell.substr(first, cell.find_last_not_of(' ') - first + 1));
    }
    return cells;
}

Cells cells_of_page() {
    std::ifstream page(PLATE_MEND_SOURCE_DIR "/docs/measurements/raw-pairs.md");
    std::vector<std::string> columns;
    Cells cells;
    for (std::string line; std::getline(page, line);) {
        if (line.rfind("| ", 0) != 0) {
            continue;
        }
        const auto row = split_row(line);
        if (columns.empty()) {
            columns = row;
        }
        for (std::size_t nth = 0; nth < std::min(row.size(), columns.size()); ++nth) {
            cells[row[0]][columns[nth]] = row[nth];
        }
    }
    return cells;
}

/// Of the smaller files, every third damage: seconds.
TEST(RawPairsPage, IsCurrent) {
    const auto folder = real_folder();
    if (!folder) {
        GTEST_SKIP() << "needs real camera files: configure with PLATE_MEND_SAMPLES_DIR";
    }
    constexpr std::size_t kLarge = std::size_t{3} << 20U;
    Cells page = cells_of_page();
    const auto photographs = real_photographs(*folder);
    std::size_t compared = 0;
    for (const RealPair& pair : real_pairs(photographs)) {
        const auto sample = raw_mend::Sample::read(pair.sample->bytes);
        if (!pair.same_camera() || !sample || pair.damaged->bytes.size() > kLarge) {
            continue;
        }
        for (std::size_t kind = 0; kind < raw_damages().size(); kind += 3) {
            const RawDamage& damage = raw_damages()[kind];
            if (applies(damage, pair)) {
                EXPECT_EQ(page[damage.name][column_of(pair)], cell_of(run_pair_trial(pair, *sample, damage)))
                    << damage.name << ", " << column_of(pair) << ": make docs/measurements/raw-pairs.md anew";
                ++compared;
            }
        }
    }
    EXPECT_GE(compared, 30U);
}

} // namespace
} // namespace test
