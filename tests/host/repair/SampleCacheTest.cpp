#include "support/ArwPhoto.h"
#include "support/Bytes.h"
#include "support/CameraPhoto.h"
#include "support/TempDir.h"

#include "files/Failures.h"
#include "repair/SampleCache.h"
#include "repair/Samples.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

// What runs remember about samples.

namespace test {
namespace {

namespace fs = std::filesystem;
using namespace plate_mend::host;
using ::testing::ElementsAre;
using ::testing::Not;
using ::testing::StartsWith;

/// Two samples, and folders for runs into one folder of results.
class SampleCaches : public ::testing::Test {
  protected:
    SampleCaches() {
        for (const fs::path& run : {run_, other_run_}) {
            fs::create_directories(run);
        }
        write_file(own_, photo("NIKON D1", 1));
        write_file(other_, photo("NIKON D500", 2));
        fs::last_write_time(own_, fs::last_write_time(own_)); // In whole seconds where it is set in these.
    }

    static Bytes photo(const std::string& model, unsigned number) {
        return CameraPhoto({.make = "NIKON CORPORATION", .model = model}, number, 96, 64).bytes;
    }

    [[nodiscard]] Samples read(const SampleCache& cache) const {
        return {{own_, other_}, cache, [](std::size_t, std::size_t) {}};
    }

    /// Why the sample comes first, for a damaged photograph of its camera.
    [[nodiscard]] std::string first_reason(const SampleCache& cache) const {
        const fs::path damaged = folder_ / "damaged.nef";
        write_file(damaged, photo("NIKON D1", 3));
        return read(cache).ranked_for(damaged, "nef", damaged).front().why;
    }

    /// Changes the sample so that it no longer names its camera, but neither size nor time.
    void change_unnoticed() const {
        const auto time = fs::last_write_time(own_);
        write_file(own_, zeroed(read_file(own_), 0, 8));
        fs::last_write_time(own_, time);
    }

    TempDir folder_;
    const fs::path own_ = folder_ / "own.nef";
    const fs::path other_ = folder_ / "other.nef";
    const fs::path run_ = folder_ / ".plate-mend" / "run";
    const fs::path other_run_ = folder_ / ".plate-mend" / "other";
    const fs::path lines_ = run_ / "samples.jsonl";
};

TEST_F(SampleCaches, UnchangedSamplesAreNotReadAgain) {
    const std::string why = first_reason(SampleCache(run_));
    EXPECT_THAT(why, StartsWith("same camera (NIKON D1)"));
    change_unnoticed();
    EXPECT_EQ(first_reason(SampleCache(run_)), why);
    EXPECT_THAT(first_reason(SampleCache(fs::path())), Not(StartsWith("same camera")));
}

TEST_F(SampleCaches, OtherRunsIntoTheSameFolderKnowThem) {
    const std::string why = first_reason(SampleCache(run_));
    change_unnoticed();
    EXPECT_EQ(first_reason(SampleCache(other_run_)), why);
    fs::create_directories(folder_ / "elsewhere" / "run");
    EXPECT_THAT(first_reason(SampleCache(folder_ / "elsewhere" / "run")), Not(StartsWith("same camera")));
}

TEST_F(SampleCaches, WhatAnotherRunHasReadSinceIsFound) {
    (void)read(SampleCache(run_));
    write_file(own_, joined(read_file(own_), {0}));
    (void)read(SampleCache(other_run_));
    SampleFacts own = stamped_sample(own_);
    SampleFacts other = stamped_sample(other_);
    EXPECT_TRUE(SampleCache(run_).complete(own));
    EXPECT_TRUE(SampleCache(run_).complete(other));
}

TEST_F(SampleCaches, EveryFactIsRemembered) {
    const ArwPhoto arw({.number = 4});
    write_file(own_, arw.bytes);
    SampleFacts sample = stamped_sample(own_);
    read_sample(sample);
    SampleCache(run_).save({sample});
    SampleFacts again = stamped_sample(own_);
    ASSERT_TRUE(SampleCache(run_).complete(again));
    EXPECT_EQ(again.kind, "nef");
    EXPECT_EQ(again.photograph, sample.photograph);
    for (const auto* facts : {&again.photograph, &sample.photograph}) {
        EXPECT_FALSE(facts->makes.empty() || facts->models.empty() || facts->software.empty());
        EXPECT_FALSE(facts->sizes.empty() || facts->codings.empty());
        EXPECT_FALSE(facts->tables.empty() || facts->samplings.empty());
    }
}

TEST_F(SampleCaches, ChangedSamplesAreReadAgain) {
    (void)first_reason(SampleCache(run_));
    write_file(own_, joined(zeroed(read_file(own_), 0, 8), {0}));
    EXPECT_THAT(first_reason(SampleCache(run_)), Not(StartsWith("same camera")));
    const auto time = fs::last_write_time(other_);
    SampleFacts longer = stamped_sample(other_);
    ASSERT_TRUE(SampleCache(run_).complete(longer));
    ++longer.size; // At the same time.
    EXPECT_FALSE(SampleCache(run_).complete(longer));
    write_file(other_, zeroed(read_file(other_), 0, 8)); // As long as before, but later.
    fs::last_write_time(other_, time + std::chrono::seconds(2));
    SampleFacts sample = stamped_sample(other_);
    EXPECT_FALSE(SampleCache(run_).complete(sample));
}

TEST_F(SampleCaches, DamagedOnesAreIgnored) {
    (void)first_reason(SampleCache(run_));
    const Bytes intact = read_file(lines_);
    SampleFacts sample = stamped_sample(own_);
    ASSERT_TRUE(SampleCache(run_).complete(sample));
    const auto is_known = [&](const Bytes& bytes) {
        write_file(lines_, bytes);
        return SampleCache(run_).complete(sample);
    };
    for (std::size_t at = 0; at < intact.size(); at += 7) {
        ASSERT_FALSE(is_known(with(intact, at, {static_cast<unsigned char>(intact[at] ^ 1U)}))) << at;
        ASSERT_FALSE(is_known(part(intact, 0, at))) << at;
    }
    EXPECT_FALSE(is_known(joined(intact, {'{', '}', '\n'})));
    EXPECT_TRUE(is_known(intact));
    write_file(lines_, {});
    EXPECT_THAT(first_reason(SampleCache(run_)), StartsWith("same camera")) << "and are replaced";
    EXPECT_TRUE(is_known(read_file(lines_)));
}

TEST_F(SampleCaches, WithoutAFolderOrRoomThereIsNone) {
    EXPECT_THAT(first_reason(SampleCache(fs::path())), StartsWith("same camera"));
    EXPECT_FALSE(fs::exists(lines_));
    fs::create_directory(lines_); // Nothing can be written there.
    EXPECT_THAT(first_reason(SampleCache(run_)), StartsWith("same camera"));
    EXPECT_TRUE(fs::is_directory(lines_));
    EXPECT_THAT(fs::directory_iterator(run_)->path(), lines_) << "nothing else remains";
}

TEST_F(SampleCaches, ProgressIsReportedBeforeEachSampleAndAtTheEnd) {
    std::vector<std::pair<std::size_t, std::size_t>> calls;
    const Samples samples({own_, other_}, SampleCache(run_),
                          [&](std::size_t done, std::size_t total) { calls.emplace_back(done, total); });
    EXPECT_THAT(calls, ElementsAre(::testing::Pair(0, 2), ::testing::Pair(1, 2), ::testing::Pair(2, 2)));
}

TEST_F(SampleCaches, WhatAnInterruptedRunHasReadIsKept) {
    const auto interrupt = [](std::size_t done, std::size_t) {
        if (done == 1) {
            throw Interrupted();
        }
    };
    EXPECT_THROW(Samples({own_, other_}, SampleCache(run_), interrupt), Interrupted);
    SampleFacts own = stamped_sample(own_);
    SampleFacts other = stamped_sample(other_);
    EXPECT_TRUE(SampleCache(run_).complete(own));
    EXPECT_FALSE(SampleCache(run_).complete(other));
}

} // namespace
} // namespace test
