#include "Repair.h"
#include "Written.h"

#include "support/ImagePlace.h"
#include "support/RafPhoto.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

#include <functional>

// RAF: rows without a code, and compressed data with a head of their own.

namespace test {
namespace {

constexpr ByteOrder kBig = ByteOrder::kBig;
constexpr ByteOrder kLittle = ByteOrder::kLittle;

struct Damage {
    std::string name;
    std::function<Bytes(const Bytes& file, std::size_t image)> make;
};

/// All but the last two leave the end of the image at the end of the file.
std::vector<Damage> damages() {
    const auto head = [](std::size_t size) {
        return
            [size](const Bytes& file, std::size_t image) { return zeroed(file, 0, std::min(size, image)); };
    };
    const auto displaced = [](std::size_t size, const auto& make) {
        return
            [=](const Bytes& file, std::size_t image) { return joined(noise(size, 9), make(file, image)); };
    };
    const auto whole = [](const Bytes& file, std::size_t) { return file; };
    const auto all = head(~std::size_t{0});
    return {
        {"None", whole},
        {"Head4K", head(4096)},
        {"Head64K", head(65536)},
        {"HeadAll", all},
        {"Displaced512", displaced(512, whole)},
        {"Displaced4096", displaced(4096, whole)},
        {"Displaced1", displaced(1, whole)},
        {"HeadAllDisplaced1000", displaced(1000, all)},
        {"HeadAllDisplaced1", displaced(1, all)},
        {"Head4KDisplaced4096", displaced(4096, head(4096))},
        {"FillerBefore",
         [](const Bytes& file, std::size_t image) { return joined(Bytes(8192), zeroed(file, 0, image)); }},
        {"HeadCutOff", [](const Bytes& file, std::size_t image) { return part(file, image, file.size()); }}};
}

raw_mend::FoundImage expect_repaired(const Bytes& damaged, const raw_mend::Sample& sample, const Bytes& image,
                                     Bytes& result) {
    const auto repaired = raw_mend::repair(damaged, sample);
    if (!repaired) {
        ADD_FAILURE() << "not found";
        return {};
    }
    result = written(*repaired->file);
    EXPECT_TRUE(image_bytes(result) == image);
    EXPECT_EQ(result.size(), repaired->file->size());
    return repaired->image;
}

// ---- The real head of a S5Pro, which has two images of the same size one after the other. ----

struct TwoImages {
    static constexpr unsigned kWidth = 0x1100;
    static constexpr unsigned kHeight = 0x5A4;
    static constexpr std::size_t kOffset = 38408;
    static constexpr std::size_t kSize = std::size_t{2} * kWidth * kHeight;

    /// With a gap between the two.
    TwoImages(const Bytes& head, unsigned number, std::size_t gap) : bytes(part(head, 0, kOffset)) {
        second = kOffset + kSize + gap;
        put_u32(bytes, 104, kSize, kBig);
        put_u32(bytes, 128, static_cast<std::uint32_t>(second), kBig);
        put_u32(bytes, 132, kSize, kBig);
        // The sensitive pixels, and the others. A small scene is made large.
        const auto scene = Scene(number).bayer(kWidth / 4, kHeight / 4 + 1, 14);
        std::vector<std::uint16_t> samples(std::size_t{kWidth} * kHeight);
        for (std::size_t at = 0; at < samples.size(); ++at) {
            const std::size_t row = at / kWidth / 8 * 2 + at / kWidth % 2;
            const std::size_t column = at % kWidth / 8 * 2 + at % 2;
            const auto grain = static_cast<std::uint16_t>((at * 2654435761U >> 13U) % 23);
            samples[at] = static_cast<std::uint16_t>(scene[row * (kWidth / 4) + column] + grain);
        }
        bytes = joined(bytes, u16_bytes(samples, kLittle));
        for (auto& sample : samples) {
            sample = static_cast<std::uint16_t>(sample / 16 + 40);
        }
        bytes = joined(joined(bytes, Bytes(gap)), u16_bytes(samples, kLittle));
    }

    Bytes bytes;
    std::size_t second = 0;
};

class RafWithTwoImages : public testing::TestWithParam<std::size_t> {};

INSTANTIATE_TEST_SUITE_P(Gaps, RafWithTwoImages, testing::Values(0, 512, 1000));

TEST_P(RafWithTwoImages, ComesBackWithBoth) {
    REAL_FILE_OR_SKIP(head, "raf/fuji-s5pro-stripped.raf");
    const TwoImages original(head, 1, GetParam());
    const TwoImages other(head, 2, GetParam());
    const auto sample = raw_mend::Sample::read(other.bytes);
    ASSERT_TRUE(sample);
    const auto picture = decode_raw(original.bytes);
    ASSERT_TRUE(picture);
    ASSERT_EQ(picture->samples.size(), std::size_t{TwoImages::kWidth} * TwoImages::kHeight);
    const auto image = image_bytes(original.bytes);
    ASSERT_TRUE(image);
    ASSERT_EQ(image->size(), TwoImages::kSize);
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        Bytes result;
        const Bytes damaged = damage.make(original.bytes, TwoImages::kOffset);
        const auto found = expect_repaired(damaged, *sample, *image, result);
        EXPECT_EQ(found.proved, 1U);
        EXPECT_EQ(get_u32(result, 100, kBig), TwoImages::kOffset);
        EXPECT_EQ(get_u32(result, 104, kBig), TwoImages::kSize);
        const std::size_t second = get_u32(result, 128, kBig);
        EXPECT_EQ(get_u32(result, 132, kBig), TwoImages::kSize);
        EXPECT_TRUE(part(result, second, second + TwoImages::kSize) ==
                    part(original.bytes, original.second, original.second + TwoImages::kSize));
        if (damage.name == "HeadAllDisplaced1000") {
            EXPECT_EQ(decode_raw(result), picture);
        }
    }
}

TEST(RafWithTwoImages, OneOfThemIsNotTakenForTheOther) {
    REAL_FILE_OR_SKIP(head, "raf/fuji-s5pro-stripped.raf");
    const TwoImages original(head, 1, 0);
    const TwoImages other(head, 2, 0);
    const auto sample = raw_mend::Sample::read(other.bytes);
    ASSERT_TRUE(sample);
    // Only the second one is left.
    const Bytes damaged = joined(Bytes(4096), part(original.bytes, original.second, original.bytes.size()));
    const auto repaired = raw_mend::repair(damaged, *sample);
    if (repaired) {
        EXPECT_EQ(repaired->image.proved, 0U);
    }
}

// ---- Rows. ----

TEST(RafRepair, RowsComeBackPixelForPixel) {
    const RafPhoto original({.number = 1, .width = 320, .height = 240});
    const RafPhoto other({.number = 2, .width = 320, .height = 240, .maker_notes = 3000});
    const auto sample = raw_mend::Sample::read(other.bytes);
    ASSERT_TRUE(sample);
    const auto picture = decode_raw(original.bytes);
    ASSERT_TRUE(picture);
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        Bytes result;
        const Bytes damaged = damage.make(original.bytes, original.image_offset);
        const auto found = expect_repaired(damaged, *sample, *image_bytes(original.bytes), result);
        EXPECT_EQ(found.proved, 1U);
        EXPECT_EQ(decode_raw(result), picture);
    }
}

// ---- Compressed data. ----

/// A photograph with compressed data in three blocks, which are noise.
struct CompressedRaf {
    Bytes bytes;
    std::size_t image = 0;
    std::size_t cfa = 0;

    explicit CompressedRaf(unsigned number, std::uint32_t longer = 0, std::size_t padding = 0) {
        const RafPhoto photo({.number = number, .maker_notes = 1000 + 512 * number});
        const std::uint32_t first = 20000 + 16 * longer;
        const Bytes fixed{0x49, 0x53, 1,    16,   14,   0x00, 0x78, 0x00,
                          0xC0, 0x00, 0xA0, 0x00, 0x40, 3,    0x00, 0x14};
        const Bytes data = joined(joined(fixed, u32_bytes({first, 30016, 25008, 0}, kBig)),
                                  joined(noise(first + 30016 + 25008, number), Bytes(padding)));
        image = photo.image_offset;
        cfa = photo.second_header;
        bytes = joined(part(photo.bytes, 0, image), data);
        put_u32(bytes, photo.strip_byte_counts_entry + 8, static_cast<std::uint32_t>(data.size()), kLittle);
        put_u32(bytes, 104, static_cast<std::uint32_t>(bytes.size() - cfa), kBig);
    }

    [[nodiscard]] Bytes headless() const { return zeroed(bytes, 0, image); }
    [[nodiscard]] Bytes data() const { return part(bytes, image, bytes.size()); }
};

class CompressedRafs : public testing::Test {
  protected:
    static const CompressedRaf& photograph(unsigned number) {
        static const std::array<CompressedRaf, 3> kAll{CompressedRaf(1, 77), CompressedRaf(2),
                                                       CompressedRaf(3, 5)};
        return kAll.at(number - 1);
    }
    const CompressedRaf& original_ = photograph(1);
    const CompressedRaf& other_ = photograph(2);
    const CompressedRaf& third_ = photograph(3);
    std::optional<raw_mend::Sample> sample_ = raw_mend::Sample::read(other_.bytes);
};

TEST_F(CompressedRafs, ComeBackWithTheirOwnLength) {
    ASSERT_TRUE(sample_);
    ASSERT_NE(original_.data().size(), other_.data().size());
    ASSERT_EQ(image_bytes(original_.bytes), original_.data());
    for (const Damage& damage : damages()) {
        SCOPED_TRACE(damage.name);
        Bytes result;
        const Bytes damaged = damage.make(original_.bytes, original_.image);
        const auto found = expect_repaired(damaged, *sample_, original_.data(), result);
        EXPECT_EQ(found.proved, 1U);
        EXPECT_TRUE(found.doubts.empty());
        const std::size_t cfa = get_u32(result, 100, kBig);
        EXPECT_EQ(cfa + get_u32(result, 104, kBig), result.size());
        // What is not the image is as it was in one of the two: the sample's, or, displaced, its own.
        const bool own = found.way == raw_mend::Way::kOwnTables;
        const Bytes& like = own ? original_.bytes : other_.bytes;
        EXPECT_EQ(part(result, 84, 104), part(like, 84, 104));
        EXPECT_EQ(cfa, own ? original_.cfa : other_.cfa);
    }
}

TEST_F(CompressedRafs, PaddingAfterTheBlocksStays) {
    const CompressedRaf original(1, 3, 12);
    const CompressedRaf other(2, 0, 12);
    const auto sample = raw_mend::Sample::read(other.bytes);
    ASSERT_TRUE(sample);
    Bytes result;
    const auto found = expect_repaired(original.headless(), *sample, original.data(), result);
    EXPECT_EQ(found.proved, 1U);
}

TEST_F(CompressedRafs, BytesAfterTheEndAreADoubt) {
    Bytes result;
    const auto found =
        expect_repaired(joined(original_.headless(), noise(5000, 1)), *sample_, original_.data(), result);
    EXPECT_EQ(found.proved, 0U);
    EXPECT_EQ(found.doubts, (std::vector<std::string>{"Nothing confirms where the raw image ends."}));
}

TEST_F(CompressedRafs, AnotherPhotographAfterTheEndIsNone) {
    Bytes result;
    const Bytes damaged = joined(original_.headless(), part(third_.bytes, 0, third_.image));
    EXPECT_EQ(expect_repaired(damaged, *sample_, original_.data(), result).proved, 1U);
}

TEST_F(CompressedRafs, BlankPartsAndLostBytesAreNotProved) {
    const std::size_t at = original_.image + 30000;
    for (const Bytes& file : {original_.bytes, original_.headless()}) {
        const Bytes blank = zeroed(file, at, at + 4096);
        const auto repaired = raw_mend::repair(blank, *sample_);
        ASSERT_TRUE(repaired && repaired->file);
        EXPECT_EQ(repaired->image.proved, 0U);
        EXPECT_TRUE(image_bytes(written(*repaired->file)) == part(blank, original_.image, blank.size()));
        const Bytes lost = joined(part(file, 0, at), part(file, at + 4096, file.size()));
        const auto shorter = raw_mend::repair(lost, *sample_);
        ASSERT_TRUE(shorter && shorter->file);
        EXPECT_EQ(shorter->image.proved, 0U);
        EXPECT_FALSE(shorter->image.doubts.empty());
        EXPECT_TRUE(image_bytes(written(*shorter->file)) == part(lost, original_.image, lost.size()));
    }
}

TEST_F(CompressedRafs, WithoutTheirHeadAreNotFound) {
    EXPECT_FALSE(raw_mend::repair(zeroed(original_.bytes, 0, original_.image + 1), *sample_));
    EXPECT_FALSE(raw_mend::repair(noise(100000, 1), *sample_));
    EXPECT_FALSE(raw_mend::repair({}, *sample_));
}

TEST_F(CompressedRafs, RemainsBeforeTheImageDoNotMatterIfTheyAreElsewhere) {
    Bytes result;
    const Bytes remains = joined(noise(200000, 1), third_.data());
    const auto found =
        expect_repaired(joined(remains, original_.headless()), *sample_, original_.data(), result);
    EXPECT_EQ(found.proved, 1U);
    EXPECT_TRUE(found.doubts.empty());
}

TEST_F(CompressedRafs, RemainsThatAreTruncatedDoNotMatter) {
    const Bytes remains = part(third_.bytes, 0, third_.image + 10000);
    for (const Bytes& image : {original_.headless(), original_.data()}) {
        Bytes result;
        const auto found = expect_repaired(joined(remains, image), *sample_, original_.data(), result);
        EXPECT_EQ(found.proved, 1U);
        EXPECT_TRUE(found.doubts.empty());
    }
}

TEST_F(CompressedRafs, TwoThatMayBeItAreADoubt) {
    for (const Bytes& remains : {third_.data(), joined(noise(512, 1), third_.data())}) {
        Bytes result;
        const auto found =
            expect_repaired(joined(original_.headless(), remains), *sample_, third_.data(), result);
        EXPECT_EQ(found.proved, 0U);
        ASSERT_EQ(found.doubts.size(), 1U);
        EXPECT_NE(found.doubts[0].find("several raw images"), std::string::npos);
    }
}

TEST_F(CompressedRafs, WholePhotographAfterTheRemainsOfOneIsKept) {
    Bytes result;
    const auto found =
        expect_repaired(joined(original_.headless(), third_.bytes), *sample_, third_.data(), result);
    EXPECT_EQ(found.way, raw_mend::Way::kOwnTables);
    EXPECT_EQ(result, third_.bytes);
}

} // namespace
} // namespace test
