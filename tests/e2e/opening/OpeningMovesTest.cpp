#include "e2e/RepairFixture.h"
#include "e2e/RepairLog.h"
#include "e2e/opening/RepairCases.h"

#include <plate_mend/plate_mend.h>

#include <gmock/gmock.h>

#include <system_error>

// What every format's repair does with its paths, its working copy, its output and with files it cannot use.

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;

std::string name_of(const ::testing::TestParamInfo<RepairCase>& repair) {
    return repair.param.name;
}

class OpeningMoves : public RepairFixture, public ::testing::WithParamInterface<RepairCase> {
  protected:
    using Line = ::testing::Matcher<const LogLine&>;

    std::int32_t repair(const std::optional<Bytes>& damaged, const std::optional<Bytes>& sample) {
        return advance(format.extension, damaged, sample);
    }

    /// A path in the folder with the format's extension.
    [[nodiscard]] fs::path path_of(const std::string& name) const {
        return folder / (name + "." + format.extension);
    }

    /// The line of the working copy, where there is one, then the last line.
    [[nodiscard]] std::vector<Line> cloned_then(const Line& last) const {
        return format.temporary.empty() ? std::vector{last} : std::vector{log.cloned, last};
    }

    void expect_repaired(const Bytes& damaged, const Bytes& sample) {
        reset_stand_ins();
        EXPECT_EQ(repair(damaged, sample), 0);
        EXPECT_EQ(output(), photos.expected);
        EXPECT_THAT(lines(), ElementsAreArray(cloned_then(log.repaired)));
        EXPECT_THAT(work_files(), IsEmpty());
    }

    /// Expects this failure once the working copy is made: which stays, with these bytes. There is no output.
    void expect_failure(const Failure& failure, const std::optional<Bytes>& damaged,
                        const std::optional<Bytes>& sample, const Bytes& working_copy) {
        reset_stand_ins();
        const std::string standard_error =
            standard_error_of([&] { EXPECT_EQ(repair(damaged, sample), failure.code); });
        EXPECT_EQ(standard_error, failure.standard_error);
        if (failure.log.empty()) {
            EXPECT_THAT(lines(), ElementsAre(log.cloned));
        } else {
            EXPECT_THAT(lines(), ElementsAreArray(cloned_then(log.failed(failure.log))));
        }
        EXPECT_EQ(output(), std::nullopt);
        if (format.temporary.empty()) {
            EXPECT_THAT(work_files(), IsEmpty());
        } else {
            EXPECT_THAT(work_files(), ElementsAre(format.temporary));
            EXPECT_EQ(work_file(format.temporary), working_copy);
        }
    }

    const RepairCase& format = GetParam();
    const RepairLog log = repair_log(format.format);
    const PhotoPair photos = format.photos(format.order);
};

INSTANTIATE_TEST_SUITE_P(Formats, OpeningMoves, ::testing::ValuesIn(all_repairs()), name_of);

// A success.

TEST_P(OpeningMoves, SuccessIsLoggedAndLeavesNothingInTheWorkDirectory) {
    expect_repaired(photos.damaged, photos.sample);
}

TEST_P(OpeningMoves, InputsAreNotChanged) {
    expect_repaired(photos.damaged, photos.sample);
    EXPECT_EQ(read_file(damaged_path), photos.damaged);
    EXPECT_EQ(read_file(sample_path), photos.sample);
}

TEST_P(OpeningMoves, OldOutputIsReplacedAndNotAppendedTo) {
    write_file(path_of("output"), noise(100, 1));
    expect_repaired(photos.damaged, photos.sample);
}

TEST_P(OpeningMoves, OutputThatIsADirectoryIsReplaced) {
    fs::create_directories(path_of("output") / "below");
    write_file(path_of("output") / "below" / "file", {1});
    expect_repaired(photos.damaged, photos.sample);
}

// Missing inputs, and paths.

TEST_P(OpeningMoves, MissingInputIsNotLoggedAndTheOldOutputIsRemoved) {
    for (const bool damaged_exists : {false, true}) {
        for (const bool sample_exists : {false, true}) {
            if (damaged_exists && sample_exists) {
                continue;
            }
            fs::remove(path_of("damaged"));
            fs::remove(path_of("sample"));
            write_file(path_of("output"), {1});
            EXPECT_EQ(repair(damaged_exists ? std::optional(photos.damaged) : std::nullopt,
                             sample_exists ? std::optional(photos.sample) : std::nullopt),
                      format.input_missing);
            EXPECT_EQ(output(), std::nullopt);
            EXPECT_THAT(lines(), IsEmpty());
            EXPECT_THAT(work_files(), IsEmpty());
        }
    }
}

TEST_P(OpeningMoves, OutputThatIsADirectoryIsRemovedBeforeTheInputsAreMissed) {
    fs::create_directories(path_of("output") / "below");
    write_file(path_of("output") / "below" / "file", {1});
    EXPECT_EQ(repair(std::nullopt, std::nullopt), format.input_missing);
    EXPECT_FALSE(fs::exists(path_of("output")));
}

TEST_P(OpeningMoves, OneFileAsAllThreePathsIsRemovedAndThenMissing) {
    const fs::path same = path_of("photo");
    write_file(same, photos.sample);
    EXPECT_EQ(advance(same, same, same), format.input_missing);
    EXPECT_FALSE(fs::exists(same));
}

TEST_P(OpeningMoves, IllFormedPathThrowsASystemErrorAndNothingIsRemoved) {
    const std::string name = "photo." + format.extension;
    write_file(folder / "output", {1});
    const std::string output = utf8(folder / "output");
    EXPECT_THROW(MndRawAdvanceRepair(("\xFF" + name).c_str(), "b", output.c_str()), std::system_error);
    EXPECT_THROW(MndRawAdvanceRepair(name.c_str(), "\xFF", output.c_str()), std::system_error);
    EXPECT_THROW(MndRawAdvanceRepair(name.c_str(), "b", "\xFF"), std::system_error);
    EXPECT_TRUE(fs::exists(folder / "output"));
}

// Files that cannot be used.

TEST_P(OpeningMoves, EmptySample) {
    expect_failure(format.empty_sample, photos.damaged, Bytes{}, {});
}

TEST_P(OpeningMoves, EmptyDamagedFile) {
    expect_failure(format.empty_damaged, Bytes{}, photos.sample, photos.blanked);
}

TEST_P(OpeningMoves, DamagedFileThatIsADirectoryIsTakenForAnEmptyOne) {
    fs::create_directory(path_of("damaged"));
    expect_failure(format.empty_damaged, std::nullopt, photos.sample, photos.blanked);
}

TEST_P(OpeningMoves, SampleIsReadBeforeTheDamagedFile) {
    expect_failure(format.broken_sample, Bytes{}, photos.broken, photos.broken);
}

TEST_P(OpeningMoves, SampleThatEndsInItsHeader) {
    for (const std::size_t size : format.header_cuts) {
        const Bytes sample = part(photos.sample, 0, size);
        expect_failure(format.cut_header, photos.damaged, sample, sample);
    }
}

TEST_P(OpeningMoves, SampleOfAnotherKind) {
    for (const Patch& patch : photos.foreign) {
        Bytes sample = photos.sample;
        put_bytes(sample, patch.offset, patch.bytes);
        expect_failure(format.foreign_sample, photos.damaged, sample, sample);
    }
}

// The working copy.

using WorkingCopy = OpeningMoves;

INSTANTIATE_TEST_SUITE_P(Formats, WorkingCopy, ::testing::ValuesIn(repairs_with_working_copy()), name_of);

TEST_P(WorkingCopy, OldOneIsLeftAloneWhenAnInputIsMissing) {
    write_file(work / format.temporary, {2});
    EXPECT_EQ(repair(std::nullopt, photos.sample), format.input_missing);
    EXPECT_EQ(work_file(format.temporary), Bytes{2});
}

TEST_P(WorkingCopy, OldOneIsReplaced) {
    expect_failure(format.empty_damaged, Bytes{}, photos.sample, photos.blanked);
    expect_repaired(photos.damaged, photos.sample);
}

TEST_P(WorkingCopy, DirectoryInItsPlaceIsReplaced) {
    fs::create_directories(work / format.temporary / "below");
    expect_repaired(photos.damaged, photos.sample);
}

TEST_P(WorkingCopy, IsNotMadeFromADirectory) {
    fs::create_directory(path_of("sample"));
    EXPECT_EQ(repair(photos.damaged, std::nullopt), format.copy_failed.code);
    EXPECT_THAT(lines(), ElementsAre(log.failed(format.copy_failed.log)));
    EXPECT_EQ(output(), std::nullopt);
}

TEST_P(WorkingCopy, NeedsTheWorkDirectory) {
    fs::remove(work);
    EXPECT_EQ(repair(photos.damaged, photos.sample), format.copy_failed.code);
    EXPECT_THAT(lines(), ElementsAre(log.failed(format.copy_failed.log)));
    EXPECT_FALSE(fs::exists(work)) << "the library does not make it";
}

TEST_P(WorkingCopy, StaysIfTheOutputIsSeenNotToOpen) {
    write_file(path_of("damaged"), photos.damaged);
    write_file(path_of("sample"), photos.sample);
    const Failure& failure = format.unopened_output;
    EXPECT_EQ(
        advance(path_of("damaged"), path_of("sample"), folder / "missing" / ("output." + format.extension)),
        failure.code);
    if (failure.code == 0) { // The failure goes unnoticed.
        EXPECT_THAT(lines(), ElementsAre(log.cloned, log.repaired));
        EXPECT_THAT(work_files(), IsEmpty());
    } else {
        EXPECT_THAT(lines(), ElementsAre(log.cloned, log.failed(failure.log)));
        EXPECT_THAT(work_files(), ElementsAre(format.temporary));
    }
    EXPECT_FALSE(fs::exists(folder / "missing"));
}

} // namespace
} // namespace test
