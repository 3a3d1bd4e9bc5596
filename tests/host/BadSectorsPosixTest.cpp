#include "host/ShellFixture.h"

#include "support/Jpeg.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <string>
#include <utility>
#include <vector>

// Media on which part of a file cannot be read. A library that is loaded before the system's makes reads of
// bad sectors fail.

namespace test {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using Spans = std::vector<std::pair<std::uint64_t, std::uint64_t>>; ///< Offset and size.

constexpr std::uint64_t kSector = 512;

class BadSectors : public ShellFixture {
  protected:
    void SetUp() override {
#if defined(PLATE_MEND_LEAK_DETECTION)
        GTEST_SKIP() << "sanitizers want to be loaded first";
#endif
        write_file(folder / "bad.arw", damaged);
    }

    /// Runs the program where a file has bad sectors.
    int run_on_medium(const std::string& sectors, const std::string& arguments,
                      const std::string& name = "bad.arw") {
        return shell("LD_PRELOAD='" PLATE_MEND_FAULTY_SYSTEM "' FAULTY_NAME=" + name + " FAULTY_SECTORS='" +
                     sectors + "' FAULTY_MARK='" + utf8(mark_) + "' \"$P\" " + arguments);
    }

    [[nodiscard]] static std::uint64_t sector_of(std::uint64_t offset) {
        return offset / kSector;
    }

    [[nodiscard]] nlohmann::json record() const {
        return nlohmann::json::parse(text_of(folder / "r.jsonl"), nullptr, false);
    }

    [[nodiscard]] Spans unreadable() const {
        Spans spans;
        const auto json = record();
        for (const auto& span : json.at("unreadable")) {
            spans.emplace_back(span.at("offset"), span.at("size"));
        }
        return spans;
    }

    /// The file as the medium returns it.
    [[nodiscard]] Bytes with_zeros(const Spans& spans) const {
        Bytes bytes = damaged;
        for (const auto& [offset, size] : spans) {
            bytes = zeroed(bytes, offset, offset + size);
        }
        return bytes;
    }

    /// Costs exactly these bytes: the result is that of a file with zeros there, with reports and without.
    void expect_to_cost(const std::string& sectors, const Spans& spans) {
        write_file(folder / "zeros.arw", with_zeros(spans));
        ASSERT_LE(shell("\"$P\" repair -s good.arw -o expected.arw zeros.arw"), 1) << out << err;
        ASSERT_EQ(run_on_medium(sectors, "repair -s good.arw -o made.arw --json r.jsonl --report sheet.html "
                                         "--csv r.csv bad.arw"),
                  1)
            << out << err;
        EXPECT_EQ(unreadable(), spans);
        EXPECT_EQ(record().at("verdict"), "partial") << "zeros in a photograph are no whole one";
        EXPECT_EQ(read_file(folder / "made.arw"), read_file(folder / "expected.arw"));
        EXPECT_THAT(out, HasSubstr("of it cannot be read"));
        EXPECT_THAT(text_of(folder / "sheet.html"), HasSubstr("of it cannot be read"));
        EXPECT_EQ(run_on_medium(sectors, "repair -s good.arw -o bare.arw bad.arw"), 1);
        EXPECT_EQ(read_file(folder / "bare.arw"), read_file(folder / "expected.arw"));
        EXPECT_FALSE(fs::exists(mark_)) << "the damaged file is read by sectors only";
    }

    const fs::path mark_ = desk_ / "mark";
};

TEST_F(BadSectors, InTheLostHeadCostNoPicture) {
    expect_to_cost("0", {{0, kSector}});
}

TEST_F(BadSectors, InTheImageCostThemselves) {
    const std::uint64_t first = sector_of(original.image_offset) + 3;
    const std::string sectors =
        std::to_string(first) + ' ' + std::to_string(first + 1) + ' ' + std::to_string(first + 20);
    expect_to_cost(sectors, {{first * kSector, 2 * kSector}, {(first + 20) * kSector, kSector}});
}

TEST_F(BadSectors, AtTheVeryEndCostThemselves) {
    damaged.resize((damaged.size() / kSector + 1) * kSector);
    write_file(folder / "bad.arw", damaged);
    const std::uint64_t last = sector_of(damaged.size()) - 1;
    expect_to_cost(std::to_string(last), {{last * kSector, kSector}});
}

TEST_F(BadSectors, LastPartOfASectorEndsWithTheFile) {
    damaged.resize(damaged.size() / kSector * kSector - 100);
    write_file(folder / "bad.arw", damaged);
    const std::uint64_t last = sector_of(damaged.size());
    expect_to_cost(std::to_string(last), {{last * kSector, kSector - 100}});
}

TEST_F(BadSectors, AreListedWhereThereAreManySamples) {
    write_file(folder / "second.arw", ArwPhoto(ArwPhoto::Options{.number = 5}).bytes);
    EXPECT_EQ(run_on_medium("0", "repair -s good.arw -s second.arw --json r.jsonl bad.arw"), 1);
    EXPECT_EQ(unreadable(), (Spans{{0, kSector}}));
    EXPECT_FALSE(fs::exists(mark_)) << "samples are chosen by what was read already";
}

TEST_F(BadSectors, FileOfNothingElseIsNotDone) {
    std::string all;
    for (std::uint64_t sector = 0; sector * kSector < damaged.size(); ++sector) {
        all += std::to_string(sector) + ' ';
    }
    EXPECT_EQ(run_on_medium(all, "repair -s good.arw --out mended --json r.jsonl bad.arw"), 3) << out;
    EXPECT_EQ(record().at("verdict"), "not done");
    EXPECT_THAT(out, HasSubstr("cannot be read: Input/output error"));
    EXPECT_EQ(text_of(folder / "mended" / ".plate-mend" / "run" / "records.jsonl").find("\"record\""),
              std::string::npos);
}

TEST_F(BadSectors, SalvageTakesTheRestAndReportsThem) {
    const ArwPhoto large(ArwPhoto::Options{.number = 2, .width = 640, .height = 480});
    damaged = zeroed(large.bytes, 0, 8);
    write_file(folder / "bad.arw", damaged);
    const std::uint64_t sector = sector_of(large.image_offset) + 1;
    write_file(folder / "zeros.arw", with_zeros({{sector * kSector, kSector}}));
    ASSERT_EQ(shell("\"$P\" salvage -o expected.jpg zeros.arw"), 0) << err;
    EXPECT_EQ(run_on_medium(std::to_string(sector), "salvage -o made.jpg bad.arw"), 0) << err;
    EXPECT_EQ(read_file(folder / "made.jpg"), read_file(folder / "expected.jpg"));
    EXPECT_EQ(err, "plate-mend: bad.arw: 512 bytes of it cannot be read (1 place)\n");
    EXPECT_FALSE(fs::exists(mark_));
}

TEST_F(BadSectors, InASampleMakeTheNextOneBeUsed) {
    write_file(folder / "second.arw", ArwPhoto(ArwPhoto::Options{.number = 5}).bytes);
    EXPECT_EQ(run_on_medium("40", "repair -s good.arw -s second.arw --json r.jsonl broken.arw", "good.arw"),
              0)
        << out;
    EXPECT_EQ(record().at("verdict"), "whole");
}

TEST_F(BadSectors, InTheOnlySampleLeaveTheFileUndone) {
    EXPECT_EQ(run_on_medium("40", "repair -s good.arw --out mended --json r.jsonl broken.arw", "good.arw"), 3)
        << out;
    EXPECT_EQ(record().at("verdict"), "not done");
    EXPECT_THAT(record().at("problem").get<std::string>(), HasSubstr("good.arw: cannot be read"));
    EXPECT_EQ(shell("\"$P\" repair --resume -s good.arw --out mended --json r.jsonl broken.arw"), 0)
        << out << err;
    EXPECT_EQ(record().at("verdict"), "whole");
}

} // namespace
} // namespace test
