#include "faults/FaultFixture.h"
#include "faults/Limits.h"

namespace test {
namespace {

namespace fs = std::filesystem;

using FullDisk = Fault;

Bytes cut(const Bytes& bytes, std::size_t size) {
    return part(bytes, 0, std::min(bytes.size(), size));
}

// The disk is full after any number of bytes of each file. The working copy and the output are truncated,
// which is not noticed.
TEST_P(FullDisk, IsNotNoticedUnlessTheWorkingCopyLacksWhatIsSearchedFor) {
    const std::size_t largest = std::max(pair.sample.size(), expected().size());
    const std::size_t step = is("cr3") ? 13 : 1; // Many times larger than the others.
    std::size_t unnoticed = 0;
    for (std::size_t room = 0; room <= largest; room += step) {
        Outcome outcome;
        {
            const FileSizeLimit limit(room);
            outcome = repair();
        }
        // There is no working copy of a CR3.
        const Bytes working_copy = is("cr3") ? pair.sample : cut(pair.sample, room);
        const oracle::Expected whole = format.repaired(working_copy, pair.damaged);
        if (!whole) {
            ASSERT_TRUE(outcome.code) << outcome << ", room " << room;
            ASSERT_LE(*outcome.code, format.highest_code) << "room " << room;
            ASSERT_GE(*outcome.code, format.lowest_code) << "room " << room;
            continue;
        }
        ASSERT_EQ(outcome, code(0)) << "room " << room;
        ASSERT_EQ(output_bytes(), cut(*whole, room)) << "room " << room;
        unnoticed += whole->size() > room ? 1U : 0U;
    }
    EXPECT_GT(unnoticed, 0U);
    expect_inputs_unchanged();
    EXPECT_EQ(repair(), code(0)); // With room again.
    EXPECT_EQ(output_bytes(), expected());
}

INSTANTIATE_TEST_SUITE_P(Formats, FullDisk, ::testing::ValuesIn(one_pair_a_format()), pair_name);

// A small file system, with a photograph that does not fit.

class SmallFileSystem : public Fault {
  protected:
    std::size_t room = small_file_system();

    /// Repairs with a small file system in the place of a folder. 0 when all is as wanted.
    [[nodiscard]] std::optional<int> repair_on(const fs::path& place, const Outcome& wanted,
                                               const oracle::Expected& wanted_output) const {
        return result_on_small_file_system(place, [&] {
            return repair() == wanted && (!wanted_output || output_bytes() == wanted_output) ? 0 : 1;
        });
    }

    /// Bytes after the image, in both files.
    void add_tail() const {
        write_file(sample, joined(pair.sample, noise(2 * room, 1)));
        write_file(damaged, joined(pair.damaged, noise(2 * room, 2)));
    }
};

TEST_P(SmallFileSystem, ForTheOutputIsNotNoticed) {
    add_tail();
    const Bytes whole = *format.repaired(read_file(sample), read_file(damaged));
    const auto result = repair_on(output.parent_path(), code(0), cut(whole, room));
    if (!result) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    EXPECT_EQ(result, 0);
}

TEST_P(SmallFileSystem, ForTheWorkingCopyIsNotNoticedWhereItHasWhatIsSearchedFor) {
    add_tail();
    const Bytes whole = *format.repaired(cut(read_file(sample), room), read_file(damaged));
    const auto result = repair_on(work, code(0), whole);
    if (!result) {
        GTEST_SKIP() << "no file system can be mounted here";
    }
    EXPECT_EQ(result, 0);
}

INSTANTIATE_TEST_SUITE_P(Formats, SmallFileSystem, ::testing::Values(one_pair_a_format().front()), pair_name);

} // namespace
} // namespace test
