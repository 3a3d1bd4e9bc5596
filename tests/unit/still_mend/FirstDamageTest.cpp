#include "JpegHabits.h"
#include "Salvaged.h"

#include "support/RealFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>

#include <jpeglib.h>

// What comes before the first damage is what libjpeg decodes, coefficient by coefficient.

namespace test {
namespace {

std::size_t data_begin(const Bytes& jpeg) {
    const Bytes scan{0xFF, 0xDA, 0x00, 0x0C};
    const auto found = std::search(jpeg.begin(), jpeg.end(), scan.begin(), scan.end());
    return static_cast<std::size_t>(found - jpeg.begin()) + 14;
}

/// Cuts a picture at every tenth of its data.
void expect_cuts_keep_what_precedes_them(const Bytes& jpeg, const std::string& name) {
    const auto original = coefficients(jpeg);
    const std::size_t begin = data_begin(jpeg);
    for (std::size_t tenth = 1; tenth < 10; ++tenth) {
        const Bytes cut = part(jpeg, 0, begin + (jpeg.size() - begin) * tenth / 10);
        const std::size_t decided = decided_mcus(cut);
        EXPECT_GT(decided, 0U) << name << ", " << tenth;
        EXPECT_GE(same_mcus(original, coefficients(salvage(cut).output)), decided) << name << ", " << tenth;
    }
}

/// Damages the data of a picture at a few places, in ways that leave what follows.
void expect_damage_keeps_what_precedes_it(const Bytes& jpeg, const std::string& name) {
    const auto original = coefficients(jpeg);
    const std::size_t begin = data_begin(jpeg);
    for (const std::size_t tenth : {2U, 5U, 8U}) {
        const std::size_t at = begin + (jpeg.size() - begin) * tenth / 10;
        const std::size_t decided = decided_mcus(part(jpeg, 0, at));
        const Bytes hole = zeroed(jpeg, at, std::min(at + 512, jpeg.size()));
        const Bytes shorter = joined(part(jpeg, 0, at), part(jpeg, at + 1, jpeg.size()));
        const Bytes longer = joined(joined(part(jpeg, 0, at), noise(100, 1)), part(jpeg, at, jpeg.size()));
        for (const Bytes& damaged : {hole, shorter, longer}) {
            EXPECT_GE(same_mcus(original, coefficients(salvage(damaged).output)), decided)
                << name << ", " << tenth << ", " << damaged.size();
        }
    }
}

Bytes captioned(const Setting& set) {
    return encode(captioned_pixels(1, 640, 480), set);
}

TEST(FirstDamage, ACutBelowACaptionBarChangesNothingAboveIt) {
    const auto defaults = [](jpeg_compress_struct&) {};
    const auto restarts = [](jpeg_compress_struct& info) { info.restart_interval = 7; };
    const auto full = [](jpeg_compress_struct& info) {
        info.comp_info[0].h_samp_factor = 1;
        info.comp_info[0].v_samp_factor = 1;
    };
    expect_cuts_keep_what_precedes_them(captioned(defaults), "defaults");
    expect_cuts_keep_what_precedes_them(captioned(restarts), "restarts");
    expect_cuts_keep_what_precedes_them(captioned(full), "4:4:4");
}

TEST(FirstDamage, DamageBelowACaptionBarChangesNothingAboveIt) {
    expect_damage_keeps_what_precedes_it(captioned([](jpeg_compress_struct&) {}), "defaults");
    expect_damage_keeps_what_precedes_it(
        captioned([](jpeg_compress_struct& info) { info.restart_interval = 7; }), "restarts");
}

TEST(FirstDamage, NothingPrecedingItChangesInPicturesOfCameras) {
    for (const char* name :
         {"jpeg/Reconyx_HC500_Hyperfire.jpg", "jpeg/exif-org_olympus-c960.jpg", "jpeg/gps_DSCN0040.jpg"}) {
        REAL_FILE_OR_SKIP(jpeg, name);
        // After the Exif segment, whose thumbnail has tables and data of its own.
        expect_cuts_keep_what_precedes_them(jpeg, name);
    }
}

} // namespace
} // namespace test
