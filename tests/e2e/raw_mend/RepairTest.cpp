#include "RawMendFixture.h"

#include "support/RawDecode.h"

#include <gmock/gmock.h>

#include <set>
#include <thread>

namespace test {
namespace {

namespace fs = std::filesystem;

using RawMendRepairTest = RawMendFixture;

TEST_F(RawMendRepairTest, WritesTheSampleAroundTheImageAndReportsIt) {
    ASSERT_EQ(repair(), RAW_MEND_OK);
    const Bytes result = read_file(output);
    EXPECT_EQ(decode_raw(result), decode_raw(photo.bytes));
    EXPECT_EQ(report.way, std::uint32_t{RAW_MEND_WAY_CODED_HEADS});
    EXPECT_EQ(report.notes, std::uint32_t{RAW_MEND_SAMPLE_METADATA | RAW_MEND_SAMPLE_PICTURES});
    EXPECT_EQ(report.sample, 0U);
    EXPECT_EQ(report.reserved, 0U);
    EXPECT_EQ(report.piece_count, photo.tiles());
    EXPECT_EQ(report.found_piece_count, photo.tiles());
    EXPECT_EQ(report.proved_piece_count, photo.tiles());
    EXPECT_EQ(report.mended_piece_count, 0U);
    EXPECT_EQ(report.frame_width, 192U);
    EXPECT_EQ(report.frame_height, 128U);
    EXPECT_EQ(report.pixel_count, 192U * 128);
    EXPECT_EQ(report.lost_pixel_count, 0U);
    EXPECT_EQ(report.doubtful_pixel_count, 0U);
    EXPECT_EQ(report.image_offset, photo.tile_offsets[0]);
    EXPECT_EQ(report.size, result.size());
}

TEST_F(RawMendRepairTest, LeavesTheInputsAsTheyAreAndNothingElse) {
    const Bytes damaged_bytes = read_file(damaged);
    ASSERT_EQ(repair(), RAW_MEND_OK);
    EXPECT_EQ(read_file(damaged), damaged_bytes);
    EXPECT_EQ(read_file(sample), other.bytes);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), fs::directory_iterator()), 3);
}

TEST_F(RawMendRepairTest, KeepsADisplacedPhotographsOwnStructure) {
    write_file(damaged, joined(noise(1000, 1), photo.bytes));
    ASSERT_EQ(repair(), RAW_MEND_OK);
    EXPECT_EQ(read_file(output), photo.bytes);
    EXPECT_EQ(report.way, std::uint32_t{RAW_MEND_WAY_OWN_TABLES});
    EXPECT_EQ(report.notes, 0U);
    EXPECT_EQ(report.image_offset, 1000 + photo.tile_offsets[0]);
}

TEST_F(RawMendRepairTest, PutsZerosInThePlaceOfLostPieces) {
    const std::size_t lost = photo.tile_offsets[2];
    write_file(damaged, zeroed(without_head(photo), lost, lost + photo.tile_byte_counts[2]));
    ASSERT_EQ(repair(), RAW_MEND_OK);
    EXPECT_EQ(report.piece_count, photo.tiles());
    EXPECT_EQ(report.found_piece_count, photo.tiles() - 1);
    EXPECT_EQ(report.proved_piece_count, photo.tiles() - 1);
    EXPECT_NE(report.notes & RAW_MEND_PIECES_LOST, 0U);
}

TEST_F(RawMendRepairTest, NeedsNoReport) {
    const std::string input = utf8(sample);
    const char* const samples[] = {input.c_str()};
    EXPECT_EQ(RawMendRepair(utf8(damaged).c_str(), samples, 1, utf8(output).c_str(), nullptr), RAW_MEND_OK);
    EXPECT_TRUE(fs::exists(output));
}

TEST_F(RawMendRepairTest, RequiresItsArguments) {
    const std::string in = utf8(damaged);
    const std::string good = utf8(sample);
    const std::string out = utf8(output);
    const char* const samples[] = {good.c_str(), nullptr};
    const auto call = [&](const char* file, const char* const* list, std::uint32_t count,
                          const char* result) {
        report.size = 77;
        const std::int32_t code = RawMendRepair(file, list, count, result, &report);
        expect_nothing();
        return code;
    };
    EXPECT_EQ(call(nullptr, samples, 1, out.c_str()), RAW_MEND_BAD_ARGUMENT);
    EXPECT_EQ(call(in.c_str(), nullptr, 1, out.c_str()), RAW_MEND_BAD_ARGUMENT);
    EXPECT_EQ(call(in.c_str(), samples, 0, out.c_str()), RAW_MEND_BAD_ARGUMENT);
    EXPECT_EQ(call(in.c_str(), samples, 2, out.c_str()), RAW_MEND_BAD_ARGUMENT) << "a null among them";
    EXPECT_EQ(call(in.c_str(), samples, 1, nullptr), RAW_MEND_BAD_ARGUMENT);
    EXPECT_EQ(RawMendRepair(nullptr, nullptr, 0, nullptr, nullptr), RAW_MEND_BAD_ARGUMENT);
}

TEST_F(RawMendRepairTest, NamesADamagedFileThatCannotBeRead) {
    fs::remove(damaged);
    EXPECT_EQ(repair(), RAW_MEND_DAMAGED_UNREADABLE);
    expect_nothing();
    fs::create_directory(damaged);
    EXPECT_EQ(repair(), RAW_MEND_DAMAGED_UNREADABLE);
    fs::remove(damaged);
    write_file(damaged, {});
    EXPECT_EQ(repair(), RAW_MEND_DAMAGED_UNREADABLE);
    expect_nothing();
}

TEST_F(RawMendRepairTest, NamesASampleThatCannotBeRead) {
    fs::remove(sample);
    EXPECT_EQ(repair(), RAW_MEND_SAMPLE_UNREADABLE);
    fs::create_directory(sample);
    EXPECT_EQ(repair(), RAW_MEND_SAMPLE_UNREADABLE);
    fs::remove(sample);
    write_file(sample, {});
    EXPECT_EQ(repair(), RAW_MEND_SAMPLE_UNREADABLE);
    expect_nothing();
}

TEST_F(RawMendRepairTest, NamesASampleThatIsNoWholePhotograph) {
    const Bytes cut = part(other.bytes, 0, other.bytes.size() - 1);
    for (const Bytes& bytes : {Bytes{0}, noise(100000, 1), Bytes(100000), without_head(other), cut}) {
        write_file(sample, bytes);
        EXPECT_EQ(repair(), RAW_MEND_SAMPLE_NOT_UNDERSTOOD);
        expect_nothing();
    }
}

TEST_F(RawMendRepairTest, FindsNothingWhereNothingIs) {
    for (const Bytes& bytes : {Bytes{0}, noise(100000, 1), Bytes(100000)}) {
        write_file(damaged, bytes);
        EXPECT_EQ(repair(), RAW_MEND_NOT_FOUND);
        expect_nothing();
    }
}

TEST_F(RawMendRepairTest, NeverTouchesWhatIsAtTheOutputsPath) {
    const Bytes old{1, 2, 3};
    write_file(output, old);
    EXPECT_EQ(repair(), RAW_MEND_OUTPUT_EXISTS);
    expect_no_report();
    EXPECT_EQ(read_file(output), old);
    fs::remove(output);
    write_file(output, {});
    EXPECT_EQ(repair(), RAW_MEND_OUTPUT_EXISTS);
    EXPECT_TRUE(read_file(output).empty());
    fs::remove(output);
    fs::create_directory(output);
    EXPECT_EQ(repair(), RAW_MEND_OUTPUT_EXISTS);
    EXPECT_TRUE(fs::is_directory(output));
    fs::remove(output);
    EXPECT_EQ(repair(), RAW_MEND_OK) << "The control: nothing is there.";
}

TEST_F(RawMendRepairTest, NeverReplacesAnInput) {
    const std::string in = utf8(damaged);
    const std::string good = utf8(sample);
    const char* const samples[] = {good.c_str()};
    for (const fs::path& path : {damaged, sample}) {
        const Bytes before = read_file(path);
        EXPECT_EQ(RawMendRepair(in.c_str(), samples, 1, utf8(path).c_str(), &report), RAW_MEND_OUTPUT_EXISTS);
        EXPECT_EQ(read_file(path), before);
    }
}

TEST_F(RawMendRepairTest, CannotWriteIntoAFolderThatDoesNotExist) {
    const std::string in = utf8(damaged);
    const std::string good = utf8(sample);
    const char* const samples[] = {good.c_str()};
    EXPECT_EQ(RawMendRepair(in.c_str(), samples, 1, utf8(folder / "none" / "output").c_str(), &report),
              RAW_MEND_OUTPUT_UNWRITABLE);
    EXPECT_EQ(RawMendRepair(in.c_str(), samples, 1, "", &report), RAW_MEND_OUTPUT_UNWRITABLE);
    expect_no_report();
}

TEST_F(RawMendRepairTest, TakesPathsInUtf8OfAnyLength) {
    fs::path deep = folder.path();
    for (unsigned level = 0; level < 8; ++level) {
        deep /= fs::path(u8"Ein Ordner mit Umlauten äöü und 写真 in seinem Namen");
    }
    // The folders are made the same way on every system: by a path that needs no length limit.
    std::error_code error;
    fs::create_directories(deep, error);
    if (error) {
        GTEST_SKIP() << "the system makes no such folders: " << error.message();
    }
    const fs::path in = deep / fs::path(u8"beschädigt.dng");
    const fs::path out = deep / fs::path(u8"repariert.dng");
    write_file(in, read_file(damaged));
    const std::string good = utf8(sample);
    const char* const samples[] = {good.c_str()};
    EXPECT_EQ(RawMendRepair(utf8(in).c_str(), samples, 1, utf8(out).c_str(), &report), RAW_MEND_OK);
    EXPECT_EQ(decode_raw(read_file(out)), decode_raw(photo.bytes));
}

TEST_F(RawMendRepairTest, RunsSideBySide) {
    constexpr unsigned kThreads = 8;
    ASSERT_EQ(repair(), RAW_MEND_OK);
    const Bytes expected = read_file(output);
    const std::string in = utf8(damaged);
    const std::string good = utf8(sample);
    std::vector<std::int32_t> codes(kThreads, RAW_MEND_INTERNAL);
    std::vector<RawMendReport> reports(kThreads);
    std::vector<std::string> outputs;
    for (unsigned index = 0; index < kThreads; ++index) {
        outputs.push_back(utf8(folder / std::to_string(index)));
    }
    std::vector<std::thread> threads;
    for (unsigned index = 0; index < kThreads; ++index) {
        threads.emplace_back([&, index] {
            const char* const samples[] = {good.c_str()};
            codes[index] = RawMendRepair(in.c_str(), samples, 1, outputs[index].c_str(), &reports[index]);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (unsigned index = 0; index < kThreads; ++index) {
        EXPECT_EQ(codes[index], RAW_MEND_OK);
        EXPECT_EQ(read_file(folder / std::to_string(index)), expected);
        EXPECT_EQ(reports[index].proved_piece_count, report.proved_piece_count);
        EXPECT_EQ(reports[index].image_offset, report.image_offset);
    }
}

TEST_F(RawMendRepairTest, OneOfManyThatWriteToTheSamePathDoes) {
    constexpr unsigned kThreads = 8;
    const std::string in = utf8(damaged);
    const std::string good = utf8(sample);
    const std::string out = utf8(output);
    std::vector<std::int32_t> codes(kThreads, RAW_MEND_INTERNAL);
    std::vector<std::thread> threads;
    for (unsigned index = 0; index < kThreads; ++index) {
        threads.emplace_back([&, index] {
            const char* const samples[] = {good.c_str()};
            codes[index] = RawMendRepair(in.c_str(), samples, 1, out.c_str(), nullptr);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(std::ranges::count(codes, RAW_MEND_OK), 1);
    EXPECT_EQ(std::ranges::count(codes, RAW_MEND_OUTPUT_EXISTS), kThreads - 1);
    EXPECT_EQ(decode_raw(read_file(output)), decode_raw(photo.bytes));
}

TEST(RawMendDescribe, HasASentenceForEachResult) {
    std::set<std::string> sentences;
    for (std::int32_t result = RAW_MEND_INTERNAL; result <= RAW_MEND_OK; ++result) {
        const std::string sentence = RawMendDescribe(result);
        EXPECT_THAT(sentence, ::testing::EndsWith("."));
        sentences.insert(sentence);
    }
    EXPECT_EQ(sentences.size(), 11U);
    const std::string unknown = RawMendDescribe(1);
    EXPECT_FALSE(sentences.contains(unknown));
    for (const std::int32_t result : {RAW_MEND_INTERNAL - 1, std::numeric_limits<std::int32_t>::min(),
                                      std::numeric_limits<std::int32_t>::max()}) {
        EXPECT_EQ(RawMendDescribe(result), unknown);
    }
}

} // namespace
} // namespace test
