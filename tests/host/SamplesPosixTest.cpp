#include "host/ShellFixture.h"

#include "support/RawDecode.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <sstream>

// Samples among damaged files, and samples that vanish.

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

class MixedFolder : public ShellFixture {
  protected:
    MixedFolder() {
        fs::create_directory(folder / "card");
        for (unsigned number = 0; number < kWhole; ++number) {
            const ArwPhoto photo(ArwPhoto::Options{.number = 10 + number});
            write_file(folder / "card" / ("IMG_" + std::to_string(100 + number * 15) + ".arw"), photo.bytes);
        }
    }

    void add_broken(unsigned count) const {
        for (unsigned number = 0; number < count; ++number) {
            write_file(folder / "card" / ("IMG_" + std::to_string(101 + number + number / 14) + ".arw"),
                       joined({static_cast<unsigned char>(number % 4)}, part(damaged, 1, damaged.size())));
        }
    }

    /// Repairs the folder with itself as samples. Each task is kept.
    int repair(const std::vector<std::string>& more = {}) {
        std::vector<std::string> words{"repair",     "--samples", in("card"),   "--out",
                                       in("mended"), "--json",    in("r.jsonl")};
        words.insert(words.end(), more.begin(), more.end());
        words.push_back(in("card"));
        return run_with(R"(tr -d '\n' < "$2/task.json" > ')" + utf8(desk_.path()) +
                            "'/task.$$\n"
                            "exec \"$program\" \"$@\"",
                        words);
    }

    /// How many times a sample was decoded.
    [[nodiscard]] std::size_t samples_decoded() const {
        std::size_t count = 0;
        for (const auto& entry : fs::directory_iterator(desk_.path())) {
            const auto task = nlohmann::json::parse(text_of(entry.path()), nullptr, false);
            if (task.is_object() && task.at("task") == "judge" &&
                task.at("damaged").get<std::string>().empty() &&
                task.at("sample").get<std::string>().empty()) {
                ++count;
            }
        }
        return count;
    }

    [[nodiscard]] std::map<std::string, unsigned> verdicts() const {
        std::map<std::string, unsigned> counts;
        std::istringstream lines(text_of(folder / "r.jsonl"));
        for (std::string line; std::getline(lines, line);) {
            ++counts[nlohmann::json::parse(line).at("verdict").get<std::string>()];
        }
        return counts;
    }

    static constexpr unsigned kWhole = 3;
};

TEST_F(MixedFolder, IsRepairedByItsWholeFilesEachOfWhichIsDecodedOnce) {
    constexpr unsigned kBroken = 40;
    add_broken(kBroken);
    ASSERT_EQ(std::distance(fs::directory_iterator(folder / "card"), {}), kBroken + kWhole);
    EXPECT_EQ(repair(), 0) << out << err;
    EXPECT_EQ(verdicts(), (std::map<std::string, unsigned>{{"intact", kWhole}, {"whole", kBroken}}));
    EXPECT_LE(samples_decoded(), kBroken + kWhole);
    unsigned made = 0;
    for (const auto& entry : fs::directory_iterator(folder / "mended")) {
        made += entry.is_regular_file() ? 1 : 0;
    }
    EXPECT_EQ(made, kBroken) << "what is intact is neither copied nor replaced";
}

TEST_F(MixedFolder, OnlySamplesThatDecodeCountAsTried) {
    add_broken(12);
    EXPECT_EQ(repair({"--max-samples", "1"}), 0) << out;
    EXPECT_EQ(verdicts(), (std::map<std::string, unsigned>{{"intact", kWhole}, {"whole", 12}}));
}

TEST_F(MixedFolder, ForceReplacesNoIntactFile) {
    const Bytes before = read_file(folder / "card" / "IMG_100.arw");
    const auto time = fs::last_write_time(folder / "card" / "IMG_100.arw");
    EXPECT_EQ(run({"repair", "--force", "--samples", in("card"), in("card")}), 0) << out;
    EXPECT_EQ(read_file(folder / "card" / "IMG_100.arw"), before);
    EXPECT_EQ(fs::last_write_time(folder / "card" / "IMG_100.arw"), time);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder / "card"), {}), kWhole);
}

TEST_F(MixedFolder, HiddenDamageIsNeverIntact) {
    const ArwPhoto large(ArwPhoto::Options{.number = 2, .width = 640, .height = 480});
    const ArwPhoto twin(ArwPhoto::Options{.number = 3, .width = 640, .height = 480});
    const auto preview = static_cast<std::ptrdiff_t>(large.preview_offsets.front());
    Bytes spoiled = large.bytes;
    std::fill(spoiled.begin() + preview + 1500, spoiled.begin() + preview + 2000,
              static_cast<unsigned char>(0xFF));
    const Bytes displaced =
        joined(part(large.bytes, 0, large.image_offset),
               joined(Bytes(512, 0x55), part(large.bytes, large.image_offset, large.bytes.size())));
    fs::remove_all(folder / "card");
    fs::create_directory(folder / "card");
    write_file(folder / "card" / "preview.arw", spoiled);
    write_file(folder / "card" / "displaced.arw", displaced);
    write_file(folder / "card" / "cut.arw", part(large.bytes, 0, large.bytes.size() - 700));
    write_file(folder / "twin.arw", twin.bytes);
    EXPECT_LE(
        run({"repair", "-s", in("twin.arw"), "--out", in("mended"), "--json", in("r.jsonl"), in("card")}), 2);
    EXPECT_EQ(verdicts().count("intact"), 0U) << out;
    EXPECT_EQ(verdicts().count("not done"), 0U) << out;
}

class VanishingSample : public ShellFixture {
  protected:
    VanishingSample() { write_file(folder / "broken.arw", zeroed(photo_.bytes, 0, photo_.strip_entries)); }

    int repair_while(const std::string& condition, const std::vector<std::string>& more = {}) {
        fs::create_directories(folder / "good");
        write_file(folder / "good" / "good.arw", good_.bytes);
        std::vector<std::string> words{"repair", "--samples", in("good"), "--out", in("mended")};
        words.insert(words.end(), more.begin(), more.end());
        words.push_back(in("broken.arw"));
        return run_with(condition + " && mv '" + in("good") + "' '" + utf8(desk_ / "away") +
                            "' 2>/dev/null\nexec \"$program\" \"$@\"",
                        words);
    }

    // With previews that the fallback would salvage.
    const ArwPhoto good_{ArwPhoto::Options{.number = 1, .width = 640, .height = 480}};
    const ArwPhoto photo_{ArwPhoto::Options{.number = 2, .width = 640, .height = 480}};
};

TEST_F(VanishingSample, LeavesTheFileUndoneWheneverItVanishes) {
    for (const char* task : {"intact", "judge", "repair"}) {
        fs::remove_all(folder / "mended");
        EXPECT_EQ(repair_while(std::string("grep -q '\"") + task + "\"' \"$2/task.json\""), 3) << task << out;
        EXPECT_THAT(out, HasSubstr("not done, sample ")) << task;
        EXPECT_THAT(out, HasSubstr("cannot be read: No such file or directory")) << task;
        EXPECT_FALSE(fs::exists(folder / "mended" / "broken.jpg"));
        fs::rename(desk_ / "away", folder / "good");
        EXPECT_EQ(
            run({"repair", "--resume", "--samples", in("good"), "--out", in("mended"), in("broken.arw")}), 0)
            << task << out;
        EXPECT_EQ(decode_raw(folder / "mended" / "broken.arw"), decode_raw(photo_.bytes));
    }
}

TEST_F(VanishingSample, AfterTheRepairIsNoLongerNeeded) {
    // The result is judged with the sample: what is whole without it stays.
    const int status = repair_while(R"(grep -q '"damaged":"damaged.arw".*"judge"' "$2/task.json")");
    EXPECT_TRUE(status == 0 || status == 3) << out;
    EXPECT_EQ(fs::exists(folder / "mended" / "broken.arw"), status == 0);
}

} // namespace
} // namespace test
