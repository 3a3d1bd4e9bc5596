#include "report/LostAreas.h"

#include <gmock/gmock.h>

namespace plate_mend::host {

void PrintTo(const FrameArea& area, std::ostream* stream) {
    *stream << area.width << " x " << area.height << " at " << area.left << ", " << area.top;
}

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// A picture of 100 x 60 pixels, 10 columns and 4 rows from the sensor's first ones.
PicturePlace place_turned(unsigned turn, double aspect = 1) {
    return {.sensor_width = 120,
            .sensor_height = 70,
            .left = 10,
            .top = 4,
            .width = 100,
            .height = 60,
            .turn = turn,
            .pixel_aspect = aspect};
}

FoundImage framed(std::uint32_t width = 120, std::uint32_t height = 70) {
    FoundImage image;
    image.frame_width = width;
    image.frame_height = height;
    return image;
}

std::vector<FrameArea> shown(const FrameArea& area, const PicturePlace& place) {
    return shown_areas({area}, framed(), place);
}

TEST(LostAreas, AreWhereThePictureShowsThem) {
    const FrameArea area{30, 14, 20, 6};
    EXPECT_THAT(shown(area, place_turned(0)), ElementsAre(FrameArea{20, 10, 20, 6}));
    EXPECT_THAT(shown(area, place_turned(3)), ElementsAre(FrameArea{60, 44, 20, 6})) << "upside down";
    EXPECT_THAT(shown(area, place_turned(6)), ElementsAre(FrameArea{44, 20, 6, 20})) << "clockwise";
    EXPECT_THAT(shown(area, place_turned(5)), ElementsAre(FrameArea{10, 60, 6, 20})) << "counterclockwise";
}

TEST(LostAreas, AreStretchedAsThePictureIs) {
    const FrameArea area{30, 14, 20, 6};
    EXPECT_THAT(shown(area, place_turned(0, 0.5)), ElementsAre(FrameArea{20, 20, 20, 12}));
    EXPECT_THAT(shown(area, place_turned(0, 2)), ElementsAre(FrameArea{40, 10, 40, 6}));
    EXPECT_THAT(shown(area, place_turned(6, 0.5)), ElementsAre(FrameArea{88, 20, 12, 20}));
    EXPECT_EQ(shown_size(place_turned(6, 0.5)).width, 120U);
    EXPECT_EQ(shown_size(place_turned(6, 0.5)).height, 100U);
}

TEST(LostAreas, AreScaledFromTheFrameToTheSensor) {
    EXPECT_THAT(shown_areas({{15, 14, 10, 6}}, framed(60, 70), place_turned(0)),
                ElementsAre(FrameArea{20, 10, 20, 6}));
    EXPECT_THAT(shown_areas({{101, 14, 1, 1}}, framed(240, 70), place_turned(0)),
                ElementsAre(FrameArea{40, 10, 1, 1}))
        << "half a pixel is one";
}

TEST(LostAreas, EndWithThePicture) {
    EXPECT_THAT(shown({0, 0, 120, 70}, place_turned(0)), ElementsAre(FrameArea{0, 0, 100, 60}));
    EXPECT_THAT(shown({0, 0, 10, 70}, place_turned(0)), IsEmpty()) << "in the border";
    EXPECT_THAT(shown({0, 64, 120, 6}, place_turned(6)), IsEmpty());
    EXPECT_THAT(shown({UINT32_MAX, UINT32_MAX, UINT32_MAX, UINT32_MAX}, place_turned(3)), IsEmpty());
}

Attempt attempt_with(std::vector<FrameArea> lost, std::vector<FrameArea> doubtful) {
    Attempt attempt;
    attempt.image = framed();
    attempt.image->lost = std::move(lost);
    attempt.image->doubtful = std::move(doubtful);
    attempt.judgement.place = place_turned(0);
    return attempt;
}

TEST(LostAreas, AreDrawnWithALegend) {
    const Attempt both = attempt_with({{30, 14, 20, 6}}, {{10, 4, 1, 1}});
    EXPECT_THAT(draw_areas(both), HasSubstr("viewBox=\"0 0 100 60\""));
    EXPECT_THAT(draw_areas(both), HasSubstr(R"(<rect class="lost" x="20" y="10" width="20" height="6"/>)"));
    EXPECT_THAT(draw_areas(both), HasSubstr(R"(<rect class="doubtful" x="0" y="0" width="1" height="1"/>)"));
    EXPECT_THAT(legend_of_areas(both), HasSubstr("lost pixels"));
    EXPECT_THAT(legend_of_areas(both), HasSubstr("doubtful pixels"));
    EXPECT_THAT(legend_of_areas(attempt_with({{30, 14, 20, 6}}, {})), Not(HasSubstr("doubtful")));
}

TEST(LostAreas, AreDrawnAsCellsWhereThereAreMany) {
    std::vector<FrameArea> pixels;
    for (std::uint32_t number = 0; number < 401; ++number) {
        pixels.push_back({10 + number % 8, 4 + number / 8 % 6, 1, 1}); // Cells of 4 x 3 pixels.
    }
    pixels.push_back({109, 63, 1, 1});
    EXPECT_THAT(draw_areas(attempt_with(pixels, {})),
                HasSubstr(R"(aria-hidden="true"><rect class="lost" x="0" y="0" width="8" height="3"/>)"
                          R"(<rect class="lost" x="0" y="3" width="8" height="3"/>)"
                          R"(<rect class="lost" x="96" y="57" width="4" height="3"/></svg>)"));
    pixels.assign(400, {10, 4, 1, 1});
    const std::string svg = draw_areas(attempt_with(pixels, {}));
    EXPECT_EQ(svg.find("width=\"4\""), std::string::npos) << "not so many";
}

TEST(LostAreas, AreNotDrawnWhereNothingIsLostOrThePlaceIsUnknown) {
    EXPECT_EQ(draw_areas(attempt_with({}, {})), "");
    EXPECT_EQ(legend_of_areas(attempt_with({}, {})), "");
    Attempt oblique = attempt_with({{30, 14, 20, 6}}, {});
    oblique.judgement.place.reset();
    EXPECT_EQ(draw_areas(oblique), "");
    EXPECT_EQ(legend_of_areas(oblique), "");
    EXPECT_EQ(draw_areas(Attempt{}), "");
}

} // namespace
} // namespace plate_mend::host
