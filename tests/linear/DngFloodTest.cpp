#include "e2e/RepairFixture.h"
#include "linear/DngFloods.h"
#include "linear/Steps.h"
#include "support/oracle/DngOracle.h"

#include <gmock/gmock.h>

#include <map>
#include <random>

namespace test {
namespace {

/// Repairs by the library; the oracle repairs step by step.
class DngFloods : public RepairFixture {
  protected:
    oracle::DngOutcome repair(const Bytes& damaged, const Bytes& sample) {
        reset_stand_ins();
        std::filesystem::remove(work / "temp.dng");
        oracle::DngOutcome outcome;
        outcome.code = advance("dng", damaged, sample);
        outcome.output = output();
        if (!work_files().empty()) {
            outcome.working_copy = work_file("temp.dng");
        }
        const std::string line = lines().back().text;
        const std::string words = "reason is ";
        const std::size_t reason = line.find(words);
        outcome.reason = reason == std::string::npos ? "" : line.substr(reason + words.size());
        return outcome;
    }
};

TEST_F(DngFloods, EndAsTheOracleSays) {
    for (const DngFlood& flood : dng_floods(6000)) {
        EXPECT_EQ(repair(flood.damaged, flood.sample), oracle::dng_outcome(flood.sample, flood.damaged))
            << flood.name;
    }
}

TEST_F(DngFloods, CostNoMoreForEachByteWhenTheyGrow) {
    const auto small_floods = dng_floods(std::size_t{1} << 15);
    const auto large_floods = dng_floods(std::size_t{1} << 18);
    for (std::size_t flood = 0; flood < small_floods.size(); ++flood) {
        const auto cost = [&](const DngFlood& files) {
            steps = 0;
            (void)repair(files.damaged, files.sample);
            return static_cast<double>(steps) /
                   static_cast<double>(files.damaged.size() + files.sample.size());
        };
        const double small = cost(small_floods[flood]);
        const double large = cost(large_floods[flood]);
        EXPECT_LT(large, small * 1.1) << small_floods[flood].name;
        EXPECT_LT(large, 40) << small_floods[flood].name;
        RecordProperty(small_floods[flood].name, std::to_string(large));
    }
}

/// A file of random entries and, after them, of small numbers. Many steps of a repair fail on it, but not
/// all.
class RandomDng {
  public:
    RandomDng(ByteOrder order, std::mt19937& random) : order_(order), random_(random) {}

    Bytes sample() {
        DngBytes file(order_);
        file.header(8).entry(273, 1, place()).entry(330, 1 + below(4), 32);
        for (int directory = 0; directory < 4; ++directory) {
            file.number(48 + below(120));
        }
        return filled(file, 8);
    }

    Bytes damaged() {
        DngBytes file(order_);
        return filled(file, below(5) == 0 ? 5 : 8);
    }

  private:
    static constexpr std::uint32_t kNumbers = 240;

    /// kinds: 8, or 5 for a file that hardly has a main image.
    Bytes filled(DngBytes& file, std::uint32_t kinds) {
        while (file.size() + 40 < kNumbers) {
            switch (below(kinds)) {
            case 0:
                file.fill(file.size() + 1 + below(3), static_cast<unsigned char>(below(2)));
                break;
            case 1:
                file.entry(254, 1, below(2), type());
                break;
            case 2:
                file.entry(static_cast<std::uint16_t>(324 + below(2)), 1 + below(2), place(), type());
                break;
            case 3:
            case 4:
                file.entry(254, 1, 1, type()).entry(273, 1, place(), type());
                break;
            default:
                file.entry(254, 1, 0, type());
                file.entry(324, 2, place(), type()).entry(325, 2, place(), type());
                break;
            }
        }
        file.fill(kNumbers, 0);
        while (file.size() < kNumbers + 80) {
            file.number(below(60));
        }
        return file.bytes();
    }

    std::uint32_t place() { return below(30) == 0 ? 1000 : kNumbers - 8 + 4 * below(12); }
    std::uint16_t type() { return static_cast<std::uint16_t>(below(12) == 0 ? 99 : 4); }
    std::uint32_t below(std::uint32_t end) { return static_cast<std::uint32_t>(random_() % end); }

    ByteOrder order_;
    std::mt19937& random_;
};

TEST_F(DngFloods, RandomEntriesEndAsTheOracleSays) {
    std::mt19937 random(20240501);
    std::map<std::int32_t, int> codes;
    for (int round = 0; round < 1000; ++round) {
        RandomDng files(round % 2 == 0 ? ByteOrder::kLittle : ByteOrder::kBig, random);
        const Bytes sample = files.sample();
        const Bytes damaged = files.damaged();
        const oracle::DngOutcome expected = oracle::dng_outcome(sample, damaged);
        ASSERT_EQ(repair(damaged, sample), expected) << round;
        ++codes[expected.code];
    }
    for (const std::int32_t code : {0, -1023, -1024, -1025, -1026}) {
        EXPECT_GT(codes[code], 20) << code;
    }
}

} // namespace
} // namespace test
