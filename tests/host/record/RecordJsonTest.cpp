#include "record/RecordJson.h"

#include "host/report/Records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <limits>

namespace plate_mend::host {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

void expect_same(const FileIdentity& left, const FileIdentity& right) {
    EXPECT_EQ(left.path, right.path);
    EXPECT_EQ(left.size, right.size);
    EXPECT_EQ(left.sha256, right.sha256);
}

void expect_same(const std::optional<FileIdentity>& left, const std::optional<FileIdentity>& right) {
    ASSERT_EQ(left.has_value(), right.has_value());
    if (left) {
        expect_same(*left, *right);
    }
}

void expect_same(const Attempt& left, const Attempt& right) {
    EXPECT_EQ(left.sample, right.sample);
    EXPECT_EQ(left.why, right.why);
    EXPECT_EQ(left.code, right.code);
    EXPECT_EQ(left.problem, right.problem);
    EXPECT_EQ(left.taken, right.taken);
    EXPECT_EQ(left.judgement.decodes, right.judgement.decodes);
    EXPECT_EQ(left.judgement.width, right.judgement.width);
    EXPECT_EQ(left.judgement.height, right.judgement.height);
    EXPECT_EQ(left.judgement.data_errors, right.judgement.data_errors);
    EXPECT_EQ(left.judgement.rows_good, right.judgement.rows_good);
    EXPECT_EQ(left.judgement.pixels_good, right.judgement.pixels_good);
    EXPECT_EQ(left.judgement.findings, right.judgement.findings);
    EXPECT_EQ(left.judgement.place, right.judgement.place);
    EXPECT_EQ(left.judgement.camera, right.judgement.camera);
    EXPECT_EQ(left.judgement.taken, right.judgement.taken);
    EXPECT_EQ(left.engine, right.engine);
    EXPECT_EQ(left.pictures_rendered, right.pictures_rendered);
    ASSERT_EQ(left.image.has_value(), right.image.has_value());
    if (left.image) {
        EXPECT_EQ(left.image->way, right.image->way);
        EXPECT_EQ(left.image->notes, right.image->notes);
        EXPECT_EQ(left.image->pieces, right.image->pieces);
        EXPECT_EQ(left.image->pieces_found, right.image->pieces_found);
        EXPECT_EQ(left.image->pieces_proved, right.image->pieces_proved);
        EXPECT_EQ(left.image->offset, right.image->offset);
        EXPECT_EQ(left.image->pieces_mended, right.image->pieces_mended);
        EXPECT_EQ(left.image->frame_width, right.image->frame_width);
        EXPECT_EQ(left.image->frame_height, right.image->frame_height);
        EXPECT_EQ(left.image->pixels, right.image->pixels);
        EXPECT_EQ(left.image->pixels_lost, right.image->pixels_lost);
        EXPECT_EQ(left.image->pixels_doubtful, right.image->pixels_doubtful);
        EXPECT_EQ(left.image->filled, right.image->filled);
        EXPECT_EQ(left.image->lost, right.image->lost);
        EXPECT_EQ(left.image->doubtful, right.image->doubtful);
    }
}

void expect_same(const Record& left, const Record& right) {
    expect_same(left.damaged, right.damaged);
    EXPECT_EQ(left.verdict, right.verdict);
    EXPECT_EQ(left.problem, right.problem);
    ASSERT_EQ(left.attempts.size(), right.attempts.size());
    for (std::size_t index = 0; index < left.attempts.size(); ++index) {
        expect_same(left.attempts[index], right.attempts[index]);
    }
    EXPECT_EQ(left.salvage.code, right.salvage.code);
    EXPECT_EQ(left.salvage.problem, right.salvage.problem);
    EXPECT_EQ(left.salvage.width, right.salvage.width);
    EXPECT_EQ(left.salvage.height, right.salvage.height);
    EXPECT_EQ(left.salvage.blocks, right.salvage.blocks);
    EXPECT_EQ(left.salvage.blocks_own, right.salvage.blocks_own);
    EXPECT_EQ(left.salvage.blocks_coarse, right.salvage.blocks_coarse);
    EXPECT_EQ(left.salvage.blocks_guessed, right.salvage.blocks_guessed);
    EXPECT_EQ(left.salvage.first_bad_byte, right.salvage.first_bad_byte);
    EXPECT_EQ(left.salvage.warnings, right.salvage.warnings);
    expect_same(left.raw, right.raw);
    expect_same(left.jpeg, right.jpeg);
    expect_same(left.mask, right.mask);
    expect_same(left.sidecar, right.sidecar);
    EXPECT_EQ(left.metadata, right.metadata);
    EXPECT_EQ(left.seconds, right.seconds);
}

Record read_again(const Record& record) {
    return from_json_line(to_json_line(record)).value();
}

TEST(RecordJson, FullRecordSurvivesARoundTrip) {
    const Record record = test::full_record();
    expect_same(read_again(record), record);
}

TEST(RecordJson, EmptyRecordSurvivesARoundTrip) {
    expect_same(read_again(Record{}), Record{});
}

TEST(RecordJson, LargeNumbersSurviveARoundTrip) {
    Record record = test::full_record();
    record.damaged.size = std::numeric_limits<std::uint64_t>::max();
    record.attempts[0].code = std::numeric_limits<std::int32_t>::min();
    record.salvage.warnings = std::numeric_limits<std::uint32_t>::max();
    record.seconds = 0.1;
    expect_same(read_again(record), record);
}

TEST(RecordJson, LineIsOneLineThatBeginsWithTheSchema) {
    Record record = test::full_record();
    record.damaged.path = "two\nlines\r.arw";
    const std::string line = to_json_line(record);
    EXPECT_THAT(line, StartsWith(R"({"schema":"plate-mend/record/1","damaged":{"path":)"));
    EXPECT_THAT(line, Not(HasSubstr("\n")));
    EXPECT_EQ(from_json_line(line).value().damaged.path, record.damaged.path);
}

TEST(RecordJson, UnknownValuesAreNull) {
    const auto json = nlohmann::json::parse(to_json_line(Record{}));
    for (const char* name : {"problem", "salvage", "raw", "jpeg", "mask", "sidecar", "metadata"}) {
        EXPECT_TRUE(json.at(name).is_null()) << name;
    }
    EXPECT_TRUE(json.at("damaged").at("sha256").is_null());
    EXPECT_TRUE(json.at("attempts").is_array());
}

TEST(RecordJson, FailedAttemptHasItsCodeInWordsAndNoJudgement) {
    const auto json = nlohmann::json::parse(to_json_line(test::full_record()));
    EXPECT_THAT(json.at("attempts").at(0).at("meaning").get<std::string>(), HasSubstr("(code -1126)"));
    EXPECT_TRUE(json.at("attempts").at(0).at("judgement").is_null());
    EXPECT_TRUE(json.at("attempts").at(1).at("meaning").is_null());
    EXPECT_EQ(json.at("attempts").at(1).at("judgement").at("rows_good"), 0.75);
    EXPECT_EQ(json.at("attempts").at(2).at("code"), nullptr);
}

TEST(RecordJson, AttemptOfTheRawEngineSaysHowTheImageWasFound) {
    const auto json = nlohmann::json::parse(to_json_line(test::full_record()));
    EXPECT_EQ(json.at("attempts").at(0).at("image"), nullptr);
    const auto& attempt = json.at("attempts").at(1);
    EXPECT_EQ(attempt.at("engine"), "raw");
    EXPECT_EQ(attempt.at("image"),
              nlohmann::json::parse(R"({"way":"rows","notes":5,"pieces":67,)"
                                    R"("pieces_found":66,"pieces_proved":65,)"
                                    R"("offset":59642,"pieces_mended":2,)"
                                    R"("frame_width":3880,"frame_height":2600,)"
                                    R"("pixels":10088000,"pixels_lost":40352,)"
                                    R"("pixels_doubtful":7,"filled":false,)"
                                    R"("lost":[{"left":4,"top":104,"width":3880,"height":10},)"
                                    R"({"left":0,"top":0,"width":1552,"height":1}],)"
                                    R"("doubtful":[{"left":1,"top":2,"width":7,"height":1}]})"));
    const auto& judgement = attempt.at("judgement");
    EXPECT_EQ(judgement.at("pixels_good"), 0.7459);
    EXPECT_EQ(judgement.at("place"),
              nlohmann::json::parse(R"({"sensor_width":3880,"sensor_height":2600,"left":4,"top":4,)"
                                    R"("width":3872,"height":2592,"turn":0,"pixel_aspect":1.0})"));
    EXPECT_EQ(json.at("mask").at("path"), "out/IMG_0042.mask.png");
    EXPECT_EQ(json.at("sidecar").at("path"), "out/IMG_0042.repaired.xmp");
    EXPECT_EQ(json.at("metadata"),
              nlohmann::json::parse(
                  R"({"facts":{"date":"2026-05-01T12:30:00","iso":"400","gps_time":"2026-05-01T10:30:00Z"},)"
                  R"("source":"preview","offset":4711,"in_result":false})"));
}

TEST(RecordJson, CodeOfTheRawEngineIsExplainedAsItsOwn) {
    Record record = test::full_record();
    record.attempts[1].code = -5;
    const auto json = nlohmann::json::parse(to_json_line(record));
    EXPECT_THAT(json.at("attempts").at(1).at("meaning").get<std::string>(), HasSubstr("no image like"));
}

TEST(RecordJson, EveryWaySurvivesARoundTrip) {
    for (std::uint32_t way = 0; way <= 5; ++way) {
        Record record = test::full_record();
        record.attempts[1].image->way = way;
        EXPECT_EQ(read_again(record).attempts[1].image->way, way);
    }
}

TEST(RecordJson, PathThatIsNotUtf8IsEscapedWithoutLoss) {
    Record record;
    record.damaged.path = "bro\xFFken.arw";
    EXPECT_NE(to_json_line(record).find(R"("path":"bro\u0000ffken.arw")"), std::string::npos);
    EXPECT_EQ(read_again(record).damaged.path, record.damaged.path);
    record.damaged.path = "\xC3\x28\xED\xA0\x80 \xF0\x9F\x93\xB7 \xFE";
    record.attempts.emplace_back();
    record.attempts.back().sample = "\x80";
    EXPECT_EQ(read_again(record).damaged.path, record.damaged.path);
    EXPECT_EQ(read_again(record).attempts.back().sample, "\x80");
}

TEST(RecordJson, LineTruncatedAnywhereIsNotARecord) {
    const std::string line = to_json_line(test::full_record());
    for (std::size_t length = 0; length < line.size(); ++length) {
        EXPECT_FALSE(from_json_line(std::string_view(line).substr(0, length)).has_value()) << length;
    }
}

TEST(RecordJson, UnknownFieldsAreIgnoredAndMissingOnesAreEmpty) {
    const auto record = from_json_line(
        R"({"new":[1],"schema":"plate-mend/record/1","damaged":{"path":"a","x":{}},"verdict":"whole"})");
    ASSERT_TRUE(record.has_value());
    EXPECT_EQ(record->damaged.path, "a");
    EXPECT_EQ(record->verdict, Verdict::kWhole);
    EXPECT_TRUE(record->attempts.empty());
}

TEST(RecordJson, SalvageWithoutAFirstBadByteHasNone) {
    const auto first_bad_byte = [](const std::string& fields) {
        const std::string begin = R"({"schema":"plate-mend/record/1","damaged":{"path":"a"},)";
        const auto record = from_json_line(begin + R"("verdict":"preview only","salvage":{)" + fields + "}}");
        return record.value().salvage.first_bad_byte;
    };
    constexpr std::uint64_t kNone = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(first_bad_byte(R"("code":0)"), kNone);
    EXPECT_EQ(first_bad_byte(R"("code":0,"first_bad_byte":null)"), kNone);
    EXPECT_EQ(first_bad_byte(R"("code":0,"first_bad_byte":0)"), 0U) << "the control";
    EXPECT_EQ(from_json_line(to_json_line(Record{})).value().salvage.first_bad_byte, kNone);
}

TEST(RecordJson, RecordOfAnotherSchemaIsRefused) {
    const std::string begin = R"({"schema":"plate-mend/record/1","damaged":{"path":"a"},)";
    EXPECT_TRUE(from_json_line(begin + R"("verdict":"whole"})").has_value()) << "the control";
    for (const std::string& line :
         {std::string(), std::string("[]"), std::string("7"), begin + R"("verdict":"fine"})",
          begin + R"("verdict":7})", begin + R"("verdict":"whole","attempts":7})",
          begin + R"("verdict":"whole","attempts":[{"sample":"b","code":3000000000}]})",
          begin + R"("verdict":"whole","raw":{"path":"b","size":-1}})",
          begin + R"("verdict":"whole","salvage":{"width":1.5}})",
          std::string(R"({"schema":"plate-mend/record/2","damaged":{"path":"a"},"verdict":"whole"})"),
          std::string(R"({"damaged":{"path":"a"},"verdict":"whole"})")}) {
        EXPECT_FALSE(from_json_line(line).has_value()) << line;
    }
}

} // namespace
} // namespace plate_mend::host
