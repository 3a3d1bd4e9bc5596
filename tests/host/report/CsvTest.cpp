#include "report/Csv.h"

#include "host/report/Records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace plate_mend::host {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

/// The fields of a line, read according to RFC 4180.
std::vector<std::string> fields_of(const std::string& line) {
    std::vector<std::string> fields(1);
    bool quoted = false;
    for (std::size_t index = 0; index < line.size(); ++index) {
        const char letter = line[index];
        if (letter == '"' && quoted && line[index + 1] == '"') {
            fields.back() += line[++index];
        } else if (letter == '"') {
            quoted = !quoted;
        } else if (letter == ',' && !quoted) {
            fields.emplace_back();
        } else if (letter == '\r' && !quoted) {
            EXPECT_EQ(line.substr(index), "\r\n");
            break;
        } else {
            fields.back() += letter;
        }
    }
    return fields;
}

std::map<std::string, std::string> row_of(const Record& record) {
    const auto names = fields_of(csv_header());
    const auto fields = fields_of(csv_row(record));
    EXPECT_EQ(names.size(), fields.size());
    std::map<std::string, std::string> row;
    for (std::size_t index = 0; index < std::min(names.size(), fields.size()); ++index) {
        row[names[index]] = fields[index];
    }
    return row;
}

TEST(Csv, RowDescribesTheAttemptThatWasTaken) {
    auto row = row_of(test::full_record());
    EXPECT_EQ(row["damaged"], "broken/IMG_0042.arw");
    EXPECT_EQ(row["damaged_size"], "9571748");
    EXPECT_EQ(row["verdict"], "partial");
    EXPECT_EQ(row["sample"], "samples/good.arw");
    EXPECT_EQ(row["unreadable"], "1536");
    EXPECT_EQ(row["zeros_left_out"], "65536");
    EXPECT_EQ(row["engine"], "raw");
    EXPECT_EQ(row["way"], "rows");
    EXPECT_EQ(row["pieces"], "67");
    EXPECT_EQ(row["pieces_found"], "66");
    EXPECT_EQ(row["pieces_proved"], "65");
    EXPECT_EQ(row["notes"], "date, exposure, serial number and the like are the sample's; some pieces of the "
                            "image are lost; zeros are in their place");
    EXPECT_EQ(row["code"], "0");
    EXPECT_EQ(row["meaning"], "");
    EXPECT_EQ(row["rows_good"], "0.7500");
    EXPECT_EQ(row["findings"], "the lower 648 rows are black; one data error");
    EXPECT_THAT(row["refused"], StartsWith("samples/other.arw: "));
    EXPECT_THAT(row["refused"], HasSubstr("; samples/third.arw: crashed"));
    EXPECT_EQ(row["salvage_code"], "-5");
    EXPECT_EQ(row["raw_size"], "9571740");
    EXPECT_EQ(row["jpeg_sha256"], std::string(64, 'c'));
    EXPECT_EQ(row["seconds"], "1.2500");
}

TEST(Csv, RowHasTheLastCodeWhenNothingWasTaken) {
    Record record = test::full_record();
    record.attempts.erase(record.attempts.begin() + 1);
    auto row = row_of(record);
    EXPECT_EQ(row["sample"], "samples/other.arw");
    EXPECT_EQ(row["code"], "-1126") << "a number is no formula";
    EXPECT_THAT(row["meaning"], HasSubstr("(code -1126)"));
    EXPECT_EQ(row["engine"], "exact");
    EXPECT_EQ(row["way"], "");
}

TEST(Csv, EmptyRecordHasAllFields) {
    auto row = row_of(Record{});
    EXPECT_EQ(row["verdict"], "not repaired");
    EXPECT_EQ(row["code"], "");
}

TEST(Csv, SeparatorsQuotesAndLineBreaksSurviveARoundTrip) {
    Record record;
    record.damaged.path = "a,\"b\"\r\nc.arw";
    EXPECT_EQ(row_of(record)["damaged"], record.damaged.path);
    EXPECT_THAT(csv_row(record), StartsWith("\"a,\"\"b\"\"\r\nc.arw\",0,"));
}

TEST(Csv, TextThatASpreadsheetWouldRunGetsAnApostrophe) {
    for (const char* path : {"=1+1.arw", "+1.arw", "-1.arw", "@a.arw", "\ta.arw", R"(=HYPERLINK("x","y"))"}) {
        Record record;
        record.damaged.path = path;
        EXPECT_EQ(row_of(record)["damaged"], std::string("'") + path);
    }
    Record record;
    record.damaged.path = "a=1.arw";
    EXPECT_EQ(row_of(record)["damaged"], "a=1.arw");
}

TEST(Csv, PathThatIsNotUtf8IsWrittenWithReplacements) {
    Record record;
    record.damaged.path = "a\xC3.arw";
    EXPECT_EQ(row_of(record)["damaged"], "a\xEF\xBF\xBD.arw");
}

} // namespace
} // namespace plate_mend::host
