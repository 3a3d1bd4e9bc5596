#include "jpeg/EntropySegments.h"
#include "jpeg/MarkerSegments.h"

#include <gtest/gtest.h>

#include <vector>

namespace still_mend {
namespace {

using Raw = std::vector<unsigned char>;

TEST(MarkerSegments, QuantTablesNeedTheirExactLengthAndNoZero) {
    Raw content(65, 1);
    content[0] = 0;
    Tables tables;
    EXPECT_TRUE(read_quant_tables(content, tables));
    EXPECT_TRUE(tables.quant[0]);
    content.push_back(1);
    EXPECT_FALSE(read_quant_tables(content, tables));
    content.resize(64);
    EXPECT_FALSE(read_quant_tables(content, tables));
    content.assign(65, 1);
    content[0] = 3;
    EXPECT_TRUE(read_quant_tables(content, tables));
    content[0] = 4;
    EXPECT_FALSE(read_quant_tables(content, tables));
    content[0] = 0;
    content[40] = 0;
    EXPECT_FALSE(read_quant_tables(content, tables));
    EXPECT_FALSE(read_quant_tables({}, tables));
}

Raw huffman_content(unsigned char number) {
    Raw content{number};
    const auto& codes = number >> 4U == 1 ? standard_ac_codes(false) : standard_dc_codes(false);
    content.insert(content.end(), codes.counts.begin(), codes.counts.end());
    content.insert(content.end(), codes.symbols.begin(), codes.symbols.begin() + codes.size());
    return content;
}

TEST(MarkerSegments, HuffmanTablesNeedAPrefixCodeAndTheirExactLength) {
    Tables tables;
    for (const unsigned char number : Raw{0x00, 0x13}) {
        EXPECT_TRUE(read_huffman_tables(huffman_content(number), tables));
    }
    EXPECT_EQ(*tables.ac[3], standard_ac_codes(false));
    for (const unsigned char number : Raw{0x04, 0x20}) {
        EXPECT_FALSE(read_huffman_tables(huffman_content(number), tables)) << int{number};
    }
    Raw longer = huffman_content(0);
    longer.push_back(0);
    EXPECT_FALSE(read_huffman_tables(longer, tables));
    Raw shorter = huffman_content(0);
    shorter.pop_back();
    EXPECT_FALSE(read_huffman_tables(shorter, tables));
    Raw crowded = huffman_content(0);
    crowded[1] = 3; // Three codes of one bit.
    EXPECT_FALSE(read_huffman_tables(crowded, tables));
    Raw twice = huffman_content(0);
    twice[18] = twice[17];
    EXPECT_FALSE(read_huffman_tables(twice, tables));
    Raw deep = huffman_content(0);
    deep[17] = 16; // A DC category above 15.
    EXPECT_FALSE(read_huffman_tables(deep, tables));
}

Raw frame_content(unsigned width, unsigned height) {
    return {8,
            static_cast<unsigned char>(height >> 8U),
            static_cast<unsigned char>(height),
            static_cast<unsigned char>(width >> 8U),
            static_cast<unsigned char>(width),
            3,
            1,
            0x22,
            0,
            2,
            0x11,
            1,
            3,
            0x11,
            1};
}

TEST(MarkerSegments, FramesAreJudgedBySizePrecisionAndSampling) {
    EXPECT_TRUE(read_frame(0xC0, frame_content(640, 480)));
    EXPECT_TRUE(read_frame(0xC2, frame_content(640, 480)));
    EXPECT_FALSE(read_frame(0xC3, frame_content(640, 480))); // Lossless.
    EXPECT_FALSE(read_frame(0xC0, frame_content(0, 480)));
    EXPECT_FALSE(read_frame(0xC0, frame_content(640, 0)));
    EXPECT_TRUE(read_frame(0xC0, frame_content(65500, 100)));
    EXPECT_FALSE(read_frame(0xC0, frame_content(65501, 100)));
    EXPECT_TRUE(read_frame(0xC0, frame_content(16000, 16000))); // The most pixels.
    EXPECT_FALSE(read_frame(0xC0, frame_content(16001, 16000)));
    Raw twelve_bits = frame_content(640, 480);
    twelve_bits[0] = 12;
    EXPECT_FALSE(read_frame(0xC0, twelve_bits));
    Raw wide = frame_content(640, 480);
    wide[7] = 0x42; // Eight blocks and two: ten.
    EXPECT_TRUE(read_frame(0xC0, wide));
    wide[7] = 0x33; // Nine and two.
    EXPECT_FALSE(read_frame(0xC0, wide));
    wide[7] = 0x51;
    EXPECT_FALSE(read_frame(0xC0, wide));
    wide[7] = 0x20;
    EXPECT_FALSE(read_frame(0xC0, wide));
    Raw same_id = frame_content(640, 480);
    same_id[9] = 1;
    EXPECT_FALSE(read_frame(0xC0, same_id));
    Raw longer = frame_content(640, 480);
    longer.push_back(0);
    EXPECT_FALSE(read_frame(0xC0, longer));
}

TEST(MarkerSegments, TheContentOfASegmentIsWithinTheFile) {
    const Raw file{0xFF, 0xDB, 0x00, 0x04, 1, 2};
    ASSERT_TRUE(segment_content(file, 0));
    EXPECT_EQ(segment_content(file, 0)->size(), 2U);
    EXPECT_FALSE(segment_content(Bytes(file).first(5), 0));
    EXPECT_FALSE(segment_content(file, 3));
    EXPECT_FALSE(segment_content(file, 7));
    const Raw empty{0xFF, 0xDB, 0x00, 0x02};
    EXPECT_TRUE(segment_content(empty, 0));
    const Raw too_short{0xFF, 0xDB, 0x00, 0x01, 0};
    EXPECT_FALSE(segment_content(too_short, 0));
}

TEST(EntropySegments, BeginOnlyAfterRestartMarkers) {
    //               0  1     2     3  4     5     6  7     8     9  10    11
    const Raw file{1, 0xFF, 0xD0, 2, 0xFF, 0xC4, 3, 0xFF, 0xD2, 4, 0xFF, 0xD9};
    EntropySegmentWalk walk(file, 0, file.size(), true);
    auto segment = walk.next();
    ASSERT_TRUE(segment);
    EXPECT_EQ(segment->restart, -1);
    EXPECT_EQ(segment->end, 1U);
    segment = walk.next();
    ASSERT_TRUE(segment);
    EXPECT_EQ(segment->restart, 0);
    EXPECT_TRUE(segment->adjacent);
    EXPECT_EQ(segment->begin, 3U);
    segment = walk.next();
    ASSERT_TRUE(segment);
    EXPECT_EQ(segment->restart, 2);
    EXPECT_FALSE(segment->adjacent);
    EXPECT_TRUE(segment->at_eoi);
    EXPECT_FALSE(walk.next());
}

TEST(EntropySegments, TheNextMarkerIsNeitherStuffingNorFill) {
    const Raw file{0xFF, 0x00, 0xFF, 0xFF, 0xD1, 0xFF};
    EXPECT_EQ(next_marker(file, 0, file.size()), 3U);
    EXPECT_EQ(next_marker(file, 5, file.size()), 6U);
    EXPECT_EQ(next_marker(file, 0, 4), 4U);
}

} // namespace
} // namespace still_mend
