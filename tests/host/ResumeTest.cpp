#include "host/BatchFixture.h"

#include "support/RawDecode.h"

#include "platform/Files.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <sstream>

// What a resumed run trusts of the run before it.

namespace test {
namespace {

namespace fs = std::filesystem;
using plate_mend::host::Verdict;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::SizeIs;

class ResumedRun : public BatchFixture {
  protected:
    ResumedRun() {
        put("card/a.arw", damaged);
        put("card/b.arw", zeroed(other.bytes, 0, other.strip_entries));
    }

    int repair(const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{"repair",   "-s",         in("good.arw"),
                                           "--out",    in("mended"), "--root",
                                           in("card"), "--json",     in("records.jsonl")};
        arguments.insert(arguments.end(), more.begin(), more.end());
        if (more.empty() || more.back().rfind("--", 0) == 0) {
            arguments.push_back(in("card"));
        }
        return run(arguments);
    }

    int resume(std::vector<std::string> more = {}) {
        more.insert(more.begin(), "--resume");
        return repair(more);
    }

    [[nodiscard]] fs::path lines() const {
        return folder / "mended" / ".plate-mend" / "run" / "records.jsonl";
    }

    [[nodiscard]] std::string text_of_lines() const {
        const Bytes bytes = read_file(lines());
        return {bytes.begin(), bytes.end()};
    }

    /// Changes the last byte of a file, and sets its times back.
    void change(const fs::path& name) {
        const auto time = fs::last_write_time(folder / name);
        Bytes bytes = bytes_of(name);
        bytes.back() = static_cast<unsigned char>(bytes.back() ^ 1U);
        write_file(folder / name, bytes);
        fs::last_write_time(folder / name, time);
    }

    void expect_both() {
        EXPECT_THAT(files_below("mended"), ElementsAre("a.arw", "b.arw"));
        EXPECT_EQ(decode_raw(folder / "mended" / "a.arw"), decode_raw(original.bytes));
        EXPECT_EQ(decode_raw(folder / "mended" / "b.arw"), decode_raw(other.bytes));
    }

    const ArwPhoto other{ArwPhoto::Options{.number = 3}};
};

TEST_F(ResumedRun, PartialStaysPartial) {
    put("card/a.arw", truncated_);
    EXPECT_EQ(repair(), 1);
    const Bytes made = bytes_of("mended/a.arw");
    EXPECT_EQ(resume(), 1);
    EXPECT_EQ(records().at("a.arw").verdict, Verdict::kPartial);
    EXPECT_NEAR(records().at("a.arw").taken()->judgement.rows_good.value_or(-1), 0.75, 0.001);
    EXPECT_EQ(bytes_of("mended/a.arw"), made);
}

TEST_F(ResumedRun, FileOfSomebodyElseIsNotAResult) {
    put("mended/a.arw", bytes_of("good.arw")); // A whole photograph, but not this one.
    EXPECT_EQ(resume(), 3);
    EXPECT_EQ(records().at("a.arw").verdict, Verdict::kNotDone);
    EXPECT_THAT(records().at("a.arw").problem, HasSubstr("exists already"));
    EXPECT_EQ(resume(), 3) << "what is not done is never recorded";
    EXPECT_EQ(bytes_of("mended/a.arw"), sample.bytes);
    fs::remove(folder / "mended" / "a.arw");
    EXPECT_EQ(resume(), 0);
    expect_both();
}

TEST_F(ResumedRun, ChangedResultIsNeitherTakenNorReplaced) {
    EXPECT_EQ(repair(), 0);
    change("mended/a.arw");
    const Bytes changed = bytes_of("mended/a.arw");
    EXPECT_EQ(resume(), 3);
    EXPECT_EQ(bytes_of("mended/a.arw"), changed);
    EXPECT_EQ(records().at("a.arw").verdict, Verdict::kNotDone);
    EXPECT_THAT(records().at("a.arw").problem, HasSubstr("exists already; --force replaces it"));
    EXPECT_EQ(records().at("b.arw").verdict, Verdict::kWhole);
    const auto time = fs::last_write_time(folder / "mended" / "b.arw");
    EXPECT_EQ(resume({"--force"}), 0);
    expect_both();
    EXPECT_EQ(fs::last_write_time(folder / "mended" / "b.arw"), time) << "only what is not finished is done";
}

TEST_F(ResumedRun, ChangedInputIsNotFinished) {
    EXPECT_EQ(repair(), 0);
    const Bytes made = bytes_of("mended/a.arw");
    change("card/a.arw");
    EXPECT_EQ(resume(), 3);
    EXPECT_EQ(records().at("a.arw").verdict, Verdict::kNotDone);
    EXPECT_EQ(bytes_of("mended/a.arw"), made) << "what was saved of the file before it changed";
    fs::remove(folder / "mended" / "a.arw");
    EXPECT_NE(resume(), 3);
    EXPECT_NE(bytes_of("mended/a.arw"), made);
}

TEST_F(ResumedRun, FilesThatWereOnlyTouchedAreFinished) {
    EXPECT_EQ(repair(), 0);
    for (const char* name : {"card/a.arw", "mended/a.arw"}) {
        fs::last_write_time(folder / name, fs::file_time_type::clock::now() - std::chrono::hours(5));
    }
    const auto time = fs::last_write_time(folder / "mended" / "a.arw");
    EXPECT_EQ(resume(), 0) << out;
    EXPECT_EQ(fs::last_write_time(folder / "mended" / "a.arw"), time);
}

TEST_F(ResumedRun, RemovedResultsAreRestored) {
    put("card/a.arw", truncated_);
    EXPECT_EQ(repair(), 1);
    const auto before = files_below("mended");
    for (const std::string& name : before) {
        fs::remove(folder / "mended" / name);
        EXPECT_EQ(resume(), 1) << name << out;
        EXPECT_EQ(files_below("mended"), before) << name;
    }
}

/// A run that was killed after a delivery and before it could record that.
TEST_F(ResumedRun, ResultWhoseRecordWasCutOffIsFinished) {
    EXPECT_EQ(repair(), 0);
    const std::string all = text_of_lines();
    const auto time = fs::last_write_time(folder / "mended" / "b.arw");
    for (const std::size_t left :
         {all.size() - 1, all.size() - 300, all.rfind(R"({"schema":"plate-mend/run)")}) {
        fs::resize_file(lines(), left);
        fs::remove(folder / "records.jsonl");
        EXPECT_EQ(resume(), 0) << out;
        EXPECT_THAT(records(), SizeIs(2));
        EXPECT_EQ(fs::last_write_time(folder / "mended" / "b.arw"), time) << "it was not made again";
        std::ofstream(lines(), std::ios::binary | std::ios::trunc) << all;
    }
    expect_both();
}

TEST_F(ResumedRun, LineAfterATruncatedOneIsComplete) {
    EXPECT_EQ(repair(), 0);
    fs::resize_file(lines(), fs::file_size(lines()) / 2);
    for (const char* name : {"a.arw", "b.arw"}) {
        fs::remove(folder / "mended" / name);
    }
    EXPECT_EQ(resume(), 0) << out;
    const auto time = fs::last_write_time(folder / "mended" / "b.arw");
    EXPECT_EQ(resume(), 0) << out;
    EXPECT_EQ(fs::last_write_time(folder / "mended" / "b.arw"), time) << "the second run can read the record";
    expect_both();
}

TEST_F(ResumedRun, FalseRecordIsNotTrusted) {
    EXPECT_EQ(repair(), 0);
    const std::string all = text_of_lines();
    std::string lies;
    for (std::istringstream stream(all); stream.good();) {
        std::string line;
        std::getline(stream, line);
        auto json = nlohmann::ordered_json::parse(line, nullptr, false);
        if (!json.is_object() || !json.contains("record")) {
            continue;
        }
        for (const char* verdict : {"whole", "intact", "partial", "preview only"}) {
            auto lie = json;
            lie["record"]["verdict"] = verdict;
            lie["raw"] = nullptr; // No result is needed for it, it says.
            lies += lie.dump() + "\n";
            lie["record"]["raw"] = nullptr;
            lies += std::string(verdict) == "intact" ? "" : lie.dump() + "\n";
        }
        auto lie = json;
        lie["raw"]["sha256"] = std::string(64, '0');
        lies += lie.dump() + "\n";
        lie["raw"]["sha256"] = 5;
        lies += lie.dump() + "\n" + line.substr(0, line.size() / 2) + "\n";
        lies +=
            "\n[]\n{}\nnull\n" + std::string(3000, '[') + "\n{\"schema\":\"plate-mend/run/1\"}\n\xff\xfe\n";
    }
    ASSERT_FALSE(lies.empty());
    std::ofstream(lines(), std::ios::binary | std::ios::trunc) << lies;
    for (const char* name : {"a.arw", "b.arw"}) {
        fs::remove(folder / "mended" / name);
    }
    fs::remove(folder / "records.jsonl");
    EXPECT_EQ(resume(), 0) << out << err;
    expect_both();
}

TEST_F(ResumedRun, RecordOfOneInputIsNotThatOfAnother) {
    EXPECT_EQ(repair({in("card/a.arw")}), 0);
    fs::remove(folder / "records.jsonl");
    fs::rename(folder / "card" / "b.arw", folder / "card" / "a.arw");
    EXPECT_EQ(resume({in("card/a.arw")}), 3) << out;
    EXPECT_EQ(decode_raw(folder / "mended" / "a.arw"), decode_raw(original.bytes));
}

TEST_F(ResumedRun, AnotherListContinuesWithTheSameRecord) {
    EXPECT_EQ(repair({in("card/a.arw")}), 0);
    const auto time = fs::last_write_time(folder / "mended" / "a.arw");
    EXPECT_EQ(resume({in("card/b.arw")}), 0);
    EXPECT_EQ(resume({in("card/b.arw"), in("card/a.arw")}), 0);
    EXPECT_EQ(fs::last_write_time(folder / "mended" / "a.arw"), time);
    EXPECT_THAT(records(), SizeIs(2));
    expect_both();
}

TEST_F(ResumedRun, AnotherSplitContinuesWithAllRecords) {
    EXPECT_EQ(repair({"--task", "1", in("card/a.arw")}), 0);
    fs::remove(folder / "records.jsonl");
    EXPECT_EQ(repair({"--task", "2", in("card/b.arw")}), 0);
    fs::remove(folder / "records.jsonl");
    const auto first = fs::last_write_time(folder / "mended" / "a.arw");
    const auto second = fs::last_write_time(folder / "mended" / "b.arw");
    EXPECT_EQ(resume({"--task", "3", in("card")}), 0) << out;
    EXPECT_EQ(fs::last_write_time(folder / "mended" / "a.arw"), first);
    EXPECT_EQ(fs::last_write_time(folder / "mended" / "b.arw"), second);
    expect_both();
}

/// Whichever record is read last: that of the input as it is now is valid.
TEST_F(ResumedRun, OldRecordOfAnotherTaskDoesNotHideANewerOne) {
    for (const auto& [older, newer] : {std::pair("1", "2"), std::pair("2", "1")}) {
        fs::remove_all(folder / "mended");
        fs::remove(folder / "records.jsonl");
        put("card/a.arw", damaged);
        EXPECT_EQ(repair({"--task", older, in("card/a.arw")}), 0);
        change("card/a.arw");
        EXPECT_NE(repair({"--force", "--task", newer, in("card/a.arw")}), 3);
        const Bytes made = bytes_of("mended/a.arw");
        EXPECT_NE(resume({"--task", "3", in("card/a.arw")}), 64) << err;
        fs::remove(folder / "records.jsonl");
        EXPECT_NE(resume({"--task", "4", in("card/a.arw")}), 3) << out;
        EXPECT_EQ(bytes_of("mended/a.arw"), made);
    }
}

TEST_F(ResumedRun, ReportsAreReplacedOnlyAsTheRunLeftThem) {
    const std::vector<std::string> reports{"--csv", in("r.csv"), "--report", in("r.html"), "--quiet"};
    EXPECT_EQ(repair(reports), 0);
    EXPECT_EQ(resume(reports), 0) << err;
    EXPECT_EQ(resume(reports), 0) << err;
    for (const char* name : {"r.csv", "r.html", "records.jsonl"}) {
        const Bytes old = bytes_of(name);
        Bytes with_remarks = old;
        with_remarks.push_back('\n');
        write_file(folder / name, with_remarks);
        EXPECT_EQ(resume(reports), 64) << name;
        EXPECT_THAT(err, HasSubstr("exists already; --force replaces it"));
        EXPECT_EQ(bytes_of(name), with_remarks);
        fs::remove(folder / name);
        EXPECT_EQ(resume(reports), 0) << err;
    }
    // Another file in a report's place, perhaps with the number of the old one.
    fs::remove(folder / "r.csv");
    write_file(folder / "r.csv", lost_);
    EXPECT_EQ(resume(reports), 64);
    EXPECT_EQ(bytes_of("r.csv"), lost_);
}

TEST_F(ResumedRun, ContactSheetHasThePicturesOfTheRunBefore) {
    EXPECT_EQ(repair({"--report", in("r.html"), in("card/a.arw")}), 0);
    EXPECT_EQ(resume({"--report", in("r.html"), in("card")}), 0) << err;
    const Bytes page = bytes_of("r.html");
    const std::string text(page.begin(), page.end());
    const std::string picture = "data:image/jpeg;base64,";
    std::size_t pictures = 0;
    for (std::size_t at = text.find(picture); at != std::string::npos; at = text.find(picture, at + 1)) {
        ++pictures;
    }
    EXPECT_EQ(pictures, 3U) << "one is the sample's";
    std::size_t samples = 0;
    for (std::size_t at = text.find("data-sample="); at != std::string::npos;
         at = text.find("data-sample=", at + 1)) {
        ++samples;
    }
    EXPECT_EQ(samples, 2U);
}

TEST_F(ResumedRun, OnlyNewRecordsGoToTheStandardOutput) {
    EXPECT_EQ(
        run({"repair", "-s", in("good.arw"), "--out", in("mended"), "--root", in("card"), in("card/a.arw")}),
        0);
    for (const char* kind : {"--json", "--csv"}) {
        fs::remove(folder / "mended" / "b.arw");
        EXPECT_EQ(run({"repair", "--resume", "-s", in("good.arw"), "--out", in("mended"), "--root",
                       in("card"), kind, "-", in("card")}),
                  0);
        EXPECT_THAT(out, HasSubstr("b.arw")) << kind;
        EXPECT_EQ(out.find("a.arw"), std::string::npos) << kind << out;
    }
}

TEST_F(ResumedRun, SecondRunInTheSameFolderIsRefused) {
    const auto lock = plate_mend::host::platform::Lock::take([&] {
        fs::create_directories(folder / "mended" / ".plate-mend" / "run");
        return folder / "mended" / ".plate-mend" / "run" / "lock";
    }());
    ASSERT_TRUE(lock.has_value());
    EXPECT_EQ(repair(), 3);
    EXPECT_THAT(err, HasSubstr("another run is using this folder"));
    EXPECT_THAT(files_below("mended"), ::testing::IsEmpty());
    EXPECT_FALSE(fs::exists(folder / "records.jsonl"));
    EXPECT_EQ(repair({"--task", "other", in("card")}), 0);
    expect_both();
}

} // namespace
} // namespace test
