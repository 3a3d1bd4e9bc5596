#include "Damages.h"
#include "Repair.h"
#include "Written.h"

#include "support/ArwPhoto.h"
#include "support/HeadlessPhoto.h"
#include "support/NefPhoto.h"
#include "support/RealFiles.h"

#include <gtest/gtest.h>

#include <functional>

// Damage that extends into the image: what survives comes back at its place, and the rest is not proved.

namespace test {
namespace {

using raw_mend::Sample;

struct Layout {
    std::string name;
    std::function<Bytes(unsigned number)> make; ///< Another number is another photograph.
};

struct Loss {
    std::string name;
    std::function<Bytes(const Bytes& file, std::size_t end)> make; ///< Everything before the end is lost.
};

const std::vector<Loss>& losses() {
    static const std::vector<Loss> all{
        {"zeros", [](const Bytes& file, std::size_t end) { return zeroed(file, 0, end); }},
        {"noise", [](const Bytes& file, std::size_t end) { return with(file, 0, noise(end, 5)); }},
        {"displaced_zeros",
         [](const Bytes& file, std::size_t end) { return joined(noise(1000, 3), zeroed(file, 0, end)); }},
    };
    return all;
}

class LostRows : public testing::TestWithParam<Layout> {};

TEST_P(LostRows, LeaveTheOthersAtTheirPlace) {
    const Bytes intact = GetParam().make(1);
    const Bytes original = GetParam().make(2);
    const auto sample = Sample::read(intact);
    ASSERT_TRUE(sample);
    const raw_mend::Extent range = Sample::read(original)->range();
    for (const Loss& loss : losses()) {
        for (const unsigned percent : {1U, 10U, 40U}) {
            SCOPED_TRACE(loss.name + ", " + std::to_string(percent) + " percent");
            const std::size_t lost = range.length * percent / 100;
            const Bytes damaged = loss.make(original, range.offset + lost);
            const auto repaired = raw_mend::repair(damaged, *sample);
            ASSERT_TRUE(repaired && repaired->file);
            EXPECT_LT(repaired->image.proved, repaired->image.pieces.size());
            const Bytes result = written(*repaired->file);
            const raw_mend::Extent found = Sample::read(result)->range();
            ASSERT_EQ(found.length, range.length);
            EXPECT_TRUE(part(result, found.offset + lost, found.end()) ==
                        part(original, range.offset + lost, range.end()))
                << static_cast<int>(repaired->image.way) << testing::PrintToString(repaired->image.doubts);
        }
    }
}

constexpr unsigned kWidth = 320;
constexpr unsigned kHeight = 400;

INSTANTIATE_TEST_SUITE_P(
    All, LostRows,
    testing::Values(Layout{"Arw",
                           [](unsigned number) {
                               return ArwPhoto({ByteOrder::kLittle, number, kWidth, kHeight, 3000, {}}).bytes;
                           }},
                    Layout{
                        "Nef",
                        [](unsigned number) {
                            return NefPhoto({ByteOrder::kBig, number, 12, kWidth, kHeight, 3000, {}}).bytes;
                        }},
                    Layout{"SonyCells",
                           [](unsigned number) {
                               return HeadlessPhoto({.kind = HeadlessPhoto::Kind::kSonyCells,
                                                     .number = number,
                                                     .width = 1024,
                                                     .height = 256})
                                   .bytes;
                           }}),
    [](const auto& test) { return test.param.name; });

/// A real photograph with many strips: those that are lost are counted.
TEST(LostStrips, AreCountedAndTheOthersProved) {
    REAL_FILE_OR_SKIP(original, "nef/nikon-d1.nef");
    const auto sample = Sample::read(original);
    ASSERT_TRUE(sample);
    const std::size_t strip = sample->description.raw.pieces.front().data.length;
    const std::size_t count = sample->description.raw.pieces.size();
    constexpr std::size_t kLost = 5;
    const Bytes damaged = zeroed(original, 0, sample->range().offset + kLost * strip);
    const auto repaired = raw_mend::repair(damaged, *sample);
    ASSERT_TRUE(repaired && repaired->file);
    EXPECT_EQ(repaired->image.count_found(), count - kLost);
    EXPECT_EQ(repaired->image.proved, count - kLost);
    const Bytes result = written(*repaired->file);
    const raw_mend::Extent range = Sample::read(result)->range();
    EXPECT_TRUE(part(result, range.offset + kLost * strip, range.end()) ==
                part(original, sample->range().offset + kLost * strip, sample->range().end()));
}

} // namespace
} // namespace test
