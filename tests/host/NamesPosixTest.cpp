#include "host/Pairs.h"
#include "host/ShellFixture.h"

#include "record/RecordJson.h"
#include "support/RawDecode.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include <array>
#include <cstring>

// Names that are not UTF-8, names that would control a terminal, and files that are only read.

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::Not;

class EveryFormatsFiles : public ShellFixture, public ::testing::WithParamInterface<Format> {
  protected:
    const std::string extension = std::string(".") + GetParam().extension;
    const Pair pair = GetParam().make({});
};

/// Latin-1, and a byte that begins nothing, in each folder and file.
TEST_P(EveryFormatsFiles, MayHaveNamesThatAreNotUtf8) {
    const fs::path card = folder / "caf\xE9";
    const fs::path name = "b\x80\xFFild" + extension;
    const fs::path sample_file = folder / ("gut\xFC" + extension);
    fs::create_directory(card);
    write_file(card / name, zeroed(pair.original, 0, pair.lost));
    write_file(sample_file, pair.sample);
    fs::create_directory(folder / "log\xE9");
    std::ofstream(folder / "list\xE9") << (card / name).native() << '\n';
    const std::vector<std::string> command{"repair",      "-s",           sample_file.native(), "--out",
                                           in("out\xE9"), "--json",       in("json\xE9"),       "--csv",
                                           in("csv\xE9"), "--report",     in("sheet\xE9"),      "--log",
                                           in("log\xE9"), "--files-from", in("list\xE9")};
    ASSERT_EQ(run(command), 0) << out << err;
    const fs::path made = folder / "out\xE9" / name;
    EXPECT_EQ(decode_raw(made), decode_raw(pair.original));
    EXPECT_NE(fs::file_size(folder / "log\xE9" / "PlateMend.log"), 0U);
    const std::string line = text_of(folder / "json\xE9");
    EXPECT_THAT(line, HasSubstr("caf\\u0000e9/b\\u000080\\u0000ffild"));
    const auto record = plate_mend::host::from_json_line(line.substr(0, line.size() - 1));
    ASSERT_TRUE(record.has_value());
    EXPECT_EQ(record->damaged.path, (card / name).native());
    EXPECT_EQ(record->raw.value().path, made.native());
    EXPECT_EQ(record->attempts.at(0).sample, sample_file.native());

    const auto time = fs::last_write_time(made);
    auto resumed = command;
    resumed.insert(resumed.begin() + 1, "--resume");
    EXPECT_EQ(run(resumed), 0) << out << err;
    EXPECT_EQ(fs::last_write_time(made), time) << "is not done again";
    EXPECT_EQ(run({"check", made.native()}), 0) << out << err;
    // A record is a list as well.
    EXPECT_EQ(
        run({"repair", "-s", sample_file.native(), "--out", in("again"), "--files-from", in("json\xE9")}), 0)
        << out << err;
}

TEST_P(EveryFormatsFiles, MayBeSalvagedUnderNamesThatAreNotUtf8) {
    const fs::path file = folder / ("b\x80ild" + extension);
    const Bytes large = GetParam().make({.large = true}).original;
    write_file(file, zeroed(large, 0, 8));
    write_file(folder / ("plain" + extension), zeroed(large, 0, 8));
    const int expected = run({"salvage", "-o", in("expected.jpg"), in("plain" + extension)});
    EXPECT_EQ(run({"salvage", "-o", in("out\xE9.jpg"), file.native()}), expected) << err;
    if (fs::exists(folder / "expected.jpg")) {
        EXPECT_EQ(read_file(folder / "out\xE9.jpg"), read_file(folder / "expected.jpg"));
    }
}

TEST_P(EveryFormatsFiles, AreOnlyEverRead) {
    const fs::path broken = folder / ("broken" + extension);
    const fs::path good = folder / ("good" + extension);
    const fs::path intact = folder / ("intact" + extension);
    write_file(broken, zeroed(pair.original, 0, pair.lost));
    write_file(good, pair.sample);
    write_file(intact, pair.original);
    const auto old = fs::file_time_type::clock::now() - std::chrono::hours(48);
    for (const auto& file : {broken, good, intact}) {
        fs::last_write_time(file, old);
    }
    const int watch = ::inotify_init1(IN_NONBLOCK);
    for (const auto& file : {broken, good, intact}) {
        ASSERT_GE(::inotify_add_watch(watch, file.c_str(),
                                      IN_OPEN | IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB | IN_MOVE_SELF),
                  0);
    }
    EXPECT_EQ(run({"repair", "-s", utf8(good), "--out", in("mended"), utf8(broken), utf8(intact)}), 0) << out;
    EXPECT_THAT(out, HasSubstr(utf8(intact) + ": intact already"));
    static_cast<void>(run({"salvage", "-o", in("x.jpg"), utf8(broken)}));
    static_cast<void>(run({"check", utf8(broken)}));
    std::array<char, 65536> events{};
    const ssize_t size = ::read(watch, events.data(), events.size());
    ::close(watch);
    unsigned opened = 0;
    for (ssize_t at = 0; at + static_cast<ssize_t>(sizeof(inotify_event)) <= size;) {
        inotify_event event{};
        std::memcpy(&event, events.data() + at, sizeof(event));
        at += static_cast<ssize_t>(sizeof(event) + event.len);
        opened += event.mask & IN_OPEN;
        EXPECT_EQ(event.mask & (IN_CLOSE_WRITE | IN_MODIFY | IN_ATTRIB | IN_MOVE_SELF), 0U) << event.mask;
    }
    EXPECT_NE(opened, 0U) << "the watch sees nothing";
    EXPECT_EQ(read_file(broken), zeroed(pair.original, 0, pair.lost));
    EXPECT_EQ(read_file(intact), pair.original);
    EXPECT_EQ(read_file(good), pair.sample);
    EXPECT_EQ(fs::last_write_time(broken), old);
}

INSTANTIATE_TEST_SUITE_P(Extensions, EveryFormatsFiles, ::testing::ValuesIn(formats()),
                         [](const auto& format) { return format.param.extension; });

class OddNames : public ShellFixture {};

TEST_F(OddNames, ExtensionThatIsNotUtf8IsNotAnObstacle) {
    write_file(folder / "photo.\xE9", original.bytes);
    EXPECT_EQ(run({"check", in("photo.\xE9")}), 0) << out << err;
}

TEST_F(OddNames, NeverDoAnythingToATerminal) {
    const std::string bad = "\x1B]0;x\x07\x1B[2J\xC2\x9B\r\n.arw";
    write_file(folder / bad, damaged);
    const std::string quoted = R"sh("$(printf '\033]0;x\007\033[2J\302\233\r\n.arw')")sh";
    for (const std::string& arguments : {"repair -s good.arw " + quoted,
                                         "repair -s " + quoted + " broken.arw",
                                         "repair -s good.arw --json " + quoted + "/x broken.arw",
                                         "repair -s good.arw --log " + quoted + " broken.arw",
                                         "repair -s good.arw --task " + quoted + "? --out o broken.arw",
                                         "repair -s good.arw --ext " + quoted + " .",
                                         "repair -s good.arw --files-from " + quoted + "x",
                                         "check " + quoted,
                                         "check x" + quoted,
                                         "salvage " + quoted,
                                         "salvage x" + quoted,
                                         "explain " + quoted,
                                         "diagnose " + quoted,
                                         "diagnose x" + quoted,
                                         "completion " + quoted,
                                         quoted,
                                         "--" + quoted,
                                         "repair --jobs " + quoted,
                                         "repair --" + quoted,
                                         "check --time-limit " + quoted + " x"}) {
        static_cast<void>(shell("\"$P\" " + arguments));
        for (const std::string& text : {out, err}) {
            EXPECT_EQ(text.find_first_of("\x1B\x07\r\x7F"), text.npos) << arguments << '\n' << text;
            EXPECT_THAT(text, Not(HasSubstr("\xC2\x9B"))) << arguments;
        }
    }
}

} // namespace
} // namespace test
