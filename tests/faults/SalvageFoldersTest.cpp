#include "faults/Limits.h"
#include "faults/Mappings.h"
#include "faults/SalvageFixture.h"

#include <sys/stat.h>

namespace test {
namespace {

namespace fs = std::filesystem;

const Bytes kOther{1, 2, 3};
constexpr fs::perms kNotWritable{0555};

/// While it lives, new files have no rights at all.
class WithoutRights {
  public:
    WithoutRights() : old_(::umask(0777)) {}
    WithoutRights(const WithoutRights&) = delete;
    WithoutRights& operator=(const WithoutRights&) = delete;
    ~WithoutRights() { ::umask(old_); }

  private:
    ::mode_t old_;
};

using SalvageFolders = EachSalvage;

TEST_P(SalvageFolders, ThatVanishBeforeThePictureIsWritten) {
    on_mapping([this](std::size_t number) {
        if (number == 1) {
            fs::remove(output.parent_path());
        }
    });
    EXPECT_EQ(salvage(), STILL_MEND_OUTPUT_UNWRITABLE);
    EXPECT_FALSE(fs::exists(output.parent_path()));
}

TEST_P(SalvageFolders, ThatVanishBeforeThePictureIsInItsPlace) {
    on_mapping([this](std::size_t number) {
        if (number == 2) { // The written picture, to be decoded once more.
            EXPECT_EQ(names(), std::vector<std::string>{"output.jpg.part"});
            fs::remove_all(output.parent_path());
        }
    });
    EXPECT_EQ(salvage(), STILL_MEND_OUTPUT_UNWRITABLE);
    EXPECT_FALSE(fs::exists(output.parent_path()));
}

TEST_P(SalvageFolders, ThatCannotBeWrittenKeepWhatTheyHave) {
    write_file(output, kOther);
    fs::permissions(output.parent_path(), kNotWritable);
    {
        const WithoutPrivileges user;
        EXPECT_EQ(salvage(), STILL_MEND_OUTPUT_UNWRITABLE);
    }
    EXPECT_EQ(read_file(output), kOther);
    EXPECT_EQ(names(), std::vector<std::string>{"output.jpg"});
    fs::permissions(output.parent_path(), fs::perms::all);
    const WithoutPrivileges user;
    EXPECT_EQ(salvage(), STILL_MEND_OK);
}

TEST_P(SalvageFolders, OutputThatCannotBeReadAgainIsNotDelivered) {
    {
        const WithoutPrivileges user;
        const WithoutRights rights;
        EXPECT_EQ(salvage(), STILL_MEND_OUTPUT_UNWRITABLE);
    }
    expect_nothing_written();
}

TEST_P(SalvageFolders, DamagedFileThatVanishesOnceItIsMappedIsNotMissed) {
    const Bytes wanted = undisturbed();
    on_mapping([this](std::size_t /*number*/) { fs::remove(damaged); });
    EXPECT_EQ(salvage(), STILL_MEND_OK);
    EXPECT_EQ(read_file(output), wanted);
}

INSTANTIATE_TEST_SUITE_P(Ways, SalvageFolders, ::testing::ValuesIn(salvage_cases()), salvage_name);

class SalvagePlaces : public SalvageFault {
  protected:
    SalvagePlaces() { damage(salvage_cases().front().file); }

    /// Salvages with something at a place that is no file, which must be there afterwards.
    void expect_left_alone(const fs::path& place, const std::function<void()>& put) {
        put();
        const auto type = fs::symlink_status(place).type();
        EXPECT_EQ(salvage(), STILL_MEND_OUTPUT_UNWRITABLE) << place << ", type " << static_cast<int>(type);
        EXPECT_EQ(fs::symlink_status(place).type(), type) << place;
        EXPECT_EQ(names(), std::vector<std::string>{utf8(place.filename())});
        fs::remove(place);
        EXPECT_EQ(salvage(), STILL_MEND_OK) << "The control: nothing is there.";
        fs::remove(output);
    }
};

TEST_F(SalvagePlaces, WhatIsNoFileIsLeftAloneAtTheOutputAndBesideIt) {
    for (const fs::path& place : {output, beside}) {
        expect_left_alone(place, [&] { fs::create_directory(place); });
        expect_left_alone(place, [&] { fs::create_symlink("/dev/full", place); });
        expect_left_alone(place, [&] { fs::create_symlink("/dev/null", place); });
        expect_left_alone(place, [&] { fs::create_symlink(folder / "nothing", place); });
        expect_left_alone(place, [&] { ASSERT_EQ(::mkfifo(place.c_str(), 0600), 0); });
    }
    EXPECT_FALSE(fs::exists(folder / "nothing"));
}

TEST_F(SalvagePlaces, FileThatADeadProcessLeftBesideTheOutputIsReplaced) {
    const Bytes wanted = undisturbed();
    write_file(beside, noise(100000, 1));
    EXPECT_EQ(salvage(), STILL_MEND_OK);
    EXPECT_EQ(read_file(output), wanted);
    EXPECT_EQ(names(), std::vector<std::string>{"output.jpg"});
}

TEST_F(SalvagePlaces, DamagedFileThatCannotBeReadHasItsOwnCode) {
    fs::permissions(damaged, fs::perms::none);
    {
        const WithoutPrivileges user;
        EXPECT_EQ(salvage(), STILL_MEND_INPUT_UNREADABLE);
    }
    expect_nothing_written();
    fs::permissions(damaged, fs::perms::all);
    const WithoutPrivileges user;
    EXPECT_EQ(salvage(), STILL_MEND_OK);
}

TEST_F(SalvagePlaces, DamagedFileThatIsNoFileHasItsOwnCode) {
    fs::remove(damaged);
    EXPECT_EQ(salvage(), STILL_MEND_INPUT_UNREADABLE);
    fs::create_directory(damaged);
    EXPECT_EQ(salvage(), STILL_MEND_INPUT_UNREADABLE);
    fs::remove(damaged);
    ASSERT_EQ(::mkfifo(damaged.c_str(), 0600), 0);
    EXPECT_EQ(salvage(), STILL_MEND_INPUT_UNREADABLE);
    fs::remove(damaged);
    fs::create_symlink("/dev/full", damaged);
    EXPECT_EQ(salvage(), STILL_MEND_INPUT_UNREADABLE);
    expect_nothing_written();
}

} // namespace
} // namespace test
