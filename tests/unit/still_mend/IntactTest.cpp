#include "JpegHabits.h"
#include "Laboratory.h"
#include "Salvaged.h"
#include "Work.h"
#include "assessment/IntactJpeg.h"

#include "support/RealFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>

#include <jpeglib.h>

// What libjpeg decodes without a warning is kept byte for byte.

namespace test {
namespace {

namespace fs = std::filesystem;

constexpr unsigned kWidth = 72; // Some blocks and MCUs are not full.
constexpr unsigned kHeight = 56;

/// Kept as it is, and all of it the photographer's own.
void expect_kept(const Bytes& file, const Bytes& wanted, const std::string& what) {
    const Salvaged kept = salvage(file);
    EXPECT_EQ(kept.code, STILL_MEND_OK) << what;
    EXPECT_TRUE(kept.output == wanted)
        << what << ": " << kept.output.size() << " of " << wanted.size() << " bytes";
    EXPECT_GT(kept.report.mcu_count, 0U) << what;
    EXPECT_EQ(kept.report.own_mcu_count, kept.report.mcu_count) << what;
    EXPECT_EQ(kept.report.guessed_mcu_count, 0U) << what;
    EXPECT_EQ(kept.report.coarse_mcu_count, 0U) << what;
    EXPECT_EQ(kept.report.first_bad_byte, STILL_MEND_NO_BAD_BYTE) << what;
    EXPECT_EQ(kept.report.warnings, 0U) << what;
}

Bytes made_by(const Habit& habit, unsigned width = kWidth, unsigned height = kHeight) {
    Bytes jpeg = encode(scene_pixels(1, width, height, habit.components), habit.set);
    EXPECT_TRUE(habit.may_be_missing || is_whole(jpeg)) << habit.name;
    return jpeg;
}

TEST(Intact, WhatAnyEncoderWritesIsKept) {
    for (const Habit& habit : habits()) {
        for (const unsigned width : {kWidth, 8U, 1U, 333U}) {
            if (const Bytes jpeg = made_by(habit, width); !jpeg.empty()) {
                expect_kept(jpeg, jpeg, habit.name + ", " + std::to_string(width));
            }
        }
    }
}

TEST(Intact, EveryQualityIsKept) {
    const Pixels pixels = scene_pixels(2, kWidth, kHeight, 3);
    for (int quality = 1; quality <= 100; ++quality) {
        for (const bool baseline : {true, false}) {
            const Bytes jpeg = encode(pixels, [=](jpeg_compress_struct& info) {
                jpeg_set_quality(&info, quality, baseline ? TRUE : FALSE);
            });
            ASSERT_TRUE(is_whole(jpeg));
            expect_kept(jpeg, jpeg, "quality " + std::to_string(quality));
        }
    }
}

TEST(Intact, WhatFollowsTheEndIsKeptToo) {
    for (const char* name : {"defaults", "progressive", "restarts"}) {
        const auto habit = std::find_if(habits().begin(), habits().end(),
                                        [name](const Habit& each) { return each.name == name; });
        const Bytes jpeg = made_by(*habit);
        const Bytes second = encode(scene_pixels(2, 640, 480, 3), [](jpeg_compress_struct&) {});
        for (const Bytes& trailer : {Bytes{0}, Bytes(5000), Bytes{0xFF, 0xD9}, noise(3000, 1), second}) {
            const Bytes file = joined(jpeg, trailer);
            expect_kept(file, file, std::string(name) + " and " + std::to_string(trailer.size()));
        }
    }
}

TEST(Intact, AnEndThatIsFilledUpOrFollowsAStrayRestartIsKept) {
    const Bytes jpeg = encode(scene_pixels(1, 400, kHeight, 3), [](jpeg_compress_struct&) {});
    const Bytes data = part(jpeg, 0, jpeg.size() - 2);
    for (const Bytes& end :
         {Bytes{0xFF, 0xFF, 0xD9}, Bytes{0xFF, 0xD0, 0xFF, 0xD9}, Bytes{0xFF, 0xFF, 0xFF, 0xFF, 0xD9}}) {
        const Bytes file = joined(data, end);
        ASSERT_TRUE(is_whole(file));
        expect_kept(file, file, std::to_string(end.size()));
        expect_kept(joined(noise(500, 1), file), file, "after noise, " + std::to_string(end.size()));
    }
}

TEST(Intact, WithinAnotherFileItIsKeptFromItsStartToItsEnd) {
    for (const Habit& habit : habits()) {
        if (const Bytes jpeg = made_by(habit, 400); !jpeg.empty()) {
            expect_kept(joined(joined(noise(1000, 1), jpeg), noise(500, 2)), jpeg, habit.name);
        }
    }
}

TEST(Intact, ADamagedOneIsNotTakenForWhole) {
    for (const Habit& habit : habits()) {
        if (const Bytes jpeg = made_by(habit); !jpeg.empty()) {
            EXPECT_TRUE(still_mend::read_intact(jpeg)) << habit.name;
            EXPECT_EQ(still_mend::read_intact(jpeg)->size, jpeg.size()) << habit.name;
            EXPECT_FALSE(still_mend::read_intact(part(jpeg, 0, jpeg.size() - 2))) << habit.name;
            EXPECT_FALSE(still_mend::read_intact(part(jpeg, 0, jpeg.size() / 2))) << habit.name;
            EXPECT_FALSE(still_mend::read_intact(part(jpeg, 2, jpeg.size()))) << habit.name;
        }
    }
}

TEST(Intact, EveryRealPictureThatLibjpegReadsIsKept) {
    REAL_FILE_OR_SKIP(one, "jpeg/gps_DSCN0010.jpg");
    ASSERT_TRUE(is_whole(one));
    std::size_t kept = 0;
    for (const auto& entry : fs::directory_iterator(*real_folder() / "jpeg")) {
        const Bytes jpeg = read_file(entry.path());
        if (is_whole(jpeg)) {
            expect_kept(jpeg, jpeg, utf8(entry.path().filename()));
            ++kept;
        }
    }
    EXPECT_GT(kept, 20U);
}

std::uint64_t work_of(const Bytes& file, bool expected) {
    const std::uint64_t before = still_mend::Work::done();
    EXPECT_EQ(still_mend::read_intact(file).has_value(), expected);
    return still_mend::Work::done() - before;
}

/// Says that the picture has another size.
Bytes with_size(Bytes jpeg, unsigned width, unsigned height) {
    std::size_t frame = 2; // Segments follow one another from there.
    while (jpeg.at(frame + 1) < 0xC0 || jpeg[frame + 1] > 0xCA || jpeg[frame + 1] == 0xC4) {
        frame += 2 + std::size_t{get_u16(jpeg, frame + 2, ByteOrder::kBig)};
    }
    put_u16(jpeg, frame + 5, static_cast<std::uint16_t>(height), ByteOrder::kBig);
    put_u16(jpeg, frame + 7, static_cast<std::uint16_t>(width), ByteOrder::kBig);
    return jpeg;
}

TEST(Intact, AHugeClaimOfFewBytesIsNotTried) {
    for (const Habit& habit : habits()) {
        if (const Bytes jpeg = made_by(habit, 8, 8); !jpeg.empty()) {
            EXPECT_LE(work_of(with_size(jpeg, 65500, 65500), false), 4 * jpeg.size()) << habit.name;
        }
    }
}

TEST(Intact, ScansWithoutEndAreGivenUp) {
    static constexpr std::array<jpeg_scan_info, 2> kScans{{{1, {0}, 0, 0, 0, 0}, {1, {0}, 1, 63, 0, 0}}};
    const Pixels blank{1024, 1024, 1, Bytes(std::size_t{1024} * 1024, 128)};
    const Bytes jpeg = encode(blank, [](jpeg_compress_struct& info) {
        info.scan_info = kScans.data();
        info.num_scans = static_cast<int>(kScans.size());
    });
    // The scan of all detail has nothing in it, and may be given as often as one likes.
    const Anatomy anatomy = dissect(jpeg);
    const std::size_t end = anatomy.end.first;
    const Bytes scan = part(jpeg, anatomy.scans.at(0).intervals.back().last, end);
    const auto repeated = [&](std::size_t count) {
        Bytes file = part(jpeg, 0, end);
        for (std::size_t index = 0; index < count; ++index) {
            file.insert(file.end(), scan.begin(), scan.end());
        }
        return joined(file, {0xFF, 0xD9});
    };
    const Bytes few = repeated(100);
    ASSERT_TRUE(is_whole(few));
    expect_kept(few, few, "a hundred scans");
    const Bytes many = repeated(10000);
    ASSERT_TRUE(is_whole(many));
    EXPECT_LE(work_of(many, false), 80 * many.size() + (1U << 24U));
}

} // namespace
} // namespace test
