#include "header/PictureCandidates.h"
#include "Laboratory.h"
#include "header/HeaderMarkers.h"

#include <gtest/gtest.h>

#include <vector>

namespace still_mend {
namespace {

using Raw = std::vector<unsigned char>;

TEST(PictureCandidates, APictureInAnApplicationSegmentIsNested) {
    const Raw inner = test::make_coded(test::coding_named("baseline 4:2:0"), 1, 160, 120, 50);
    const Raw outer = test::make_coded(test::coding_named("baseline 4:2:0"), 1, 320, 240);
    Raw segment{0xFF,
                0xE1,
                static_cast<unsigned char>((inner.size() + 8) >> 8U),
                static_cast<unsigned char>(inner.size() + 8),
                'E',
                'x',
                'i',
                'f',
                0,
                0};
    segment.insert(segment.end(), inner.begin(), inner.end());
    Raw file(outer.begin(), outer.begin() + 2);
    file.insert(file.end(), segment.begin(), segment.end());
    file.insert(file.end(), outer.begin() + 2, outer.end());
    const auto candidates = find_candidates(file, find_header_markers(file));
    ASSERT_EQ(candidates.size(), 2U);
    EXPECT_FALSE(candidates[0].nested);
    EXPECT_EQ(candidates[0].frame->width, 320U);
    EXPECT_TRUE(candidates[1].nested);
    EXPECT_EQ(candidates[1].frame->width, 160U);
}

TEST(PictureCandidates, ALosslessStreamIsNoPicture) {
    Raw file = test::make_coded(test::coding_named("baseline 4:2:0"), 1, 320, 240);
    file[test::dissect(file).frame[0].first + 1] = 0xC3;
    const auto candidates = find_candidates(file, find_header_markers(file));
    ASSERT_FALSE(candidates.empty());
    EXPECT_TRUE(candidates[0].other_process);
    EXPECT_FALSE(candidates[0].sos_offset);
}

TEST(HeaderMarkers, AreBoundedWhateverTheBytes) {
    Raw starts;
    while (starts.size() < 6U * (kMaxHeaderMarkers + 100)) {
        starts.insert(starts.end(), {0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x10});
    }
    EXPECT_EQ(find_header_markers(starts).size(), kMaxHeaderMarkers);
    EXPECT_TRUE(find_header_markers(Raw(100000, 0xFF)).empty());
    EXPECT_TRUE(find_header_markers(Raw(100000, 0)).empty());
    EXPECT_TRUE(find_header_markers({}).empty());
}

} // namespace
} // namespace still_mend
