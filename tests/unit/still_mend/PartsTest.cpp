#include "Laboratory.h"
#include "header/HeaderMarkers.h"
#include "header/PictureCandidates.h"
#include "jpeg/BitReader.h"
#include "jpeg/EntropySegments.h"
#include "jpeg/HuffmanTable.h"
#include "jpeg/MarkerSegments.h"
#include "output/Exif.h"
#include "progressive/IntervalPath.h"
#include "sequential/RestartPlacement.h"
#include "sequential/Survey.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace still_mend {
namespace {

using Raw = std::vector<unsigned char>;

TEST(BitReader, UndoesStuffingAndStopsAtAMarker) {
    const Raw data{0xAB, 0xFF, 0x00, 0x12, 0xFF, 0xD3, 0x77};
    BitReader reader(data, 0);
    EXPECT_EQ(reader.get(8), 0xABU);
    EXPECT_EQ(reader.get(12), 0xFF1U);
    EXPECT_FALSE(reader.overrun());
    EXPECT_TRUE(reader.closes());
    EXPECT_EQ(reader.stop(), 4U);
    EXPECT_EQ(reader.get(4), 2U);
    EXPECT_FALSE(reader.overrun());
    EXPECT_EQ(reader.get(1), 0U);
    EXPECT_TRUE(reader.overrun());
}

TEST(BitReader, ClosesOnlyWithFewerThanEightBitsLeft) {
    const Raw data{0x00, 0x7F};
    BitReader reader(data, 0);
    EXPECT_FALSE(reader.closes());
    EXPECT_EQ(reader.get(8), 0U);
    EXPECT_FALSE(reader.closes());
    EXPECT_EQ(reader.get(1), 0U);
    EXPECT_TRUE(reader.closes());
}

TEST(BitReader, TellsTheByteThatIsNext) {
    const Raw data{0x01, 0xFF, 0x00, 0xFF, 0x00, 0x05, 0x06, 0x07, 0x08, 0x09, 0x0A, 0x0B};
    BitReader reader(data, 0);
    EXPECT_EQ(reader.offset(), 0U);
    EXPECT_EQ(reader.get(8), 1U);
    EXPECT_EQ(reader.offset(), 1U);
    EXPECT_EQ(reader.get(1), 1U);
    EXPECT_EQ(reader.offset(), 3U); // Of FF 00 a bit was taken.
    EXPECT_EQ(reader.get(15), 0x7FFFU);
    EXPECT_EQ(reader.offset(), 5U);
}

TEST(BitReader, EndsWithinAStuffedByte) {
    const Raw data{0x80, 0xFF};
    BitReader reader(data, 0);
    EXPECT_EQ(reader.get(8), 0x80U);
    EXPECT_TRUE(reader.closes());
    EXPECT_EQ(reader.stop(), 1U);
}

TEST(ReceiveExtend, GivesBothSignsOfACategory) {
    const Raw data{0b00011110, 0b11000000};
    BitReader reader(data, 0);
    EXPECT_EQ(receive_extend(reader, 0), 0);
    EXPECT_EQ(receive_extend(reader, 3), -7);
    EXPECT_EQ(receive_extend(reader, 3), 7);
    EXPECT_EQ(receive_extend(reader, 1), 1);
    EXPECT_EQ(receive_extend(reader, 1), -1);
}

TEST(HuffmanTable, DecodesShortAndLongCodesOfTheStandardTables) {
    // K.3: luma AC 1010 is end of block, 1111111111111110 is FA.
    const HuffmanTable table(standard_ac_codes(false));
    const Raw data{0b10101111, 0b11111111 & 0xFE, 0};
    BitReader reader(data, 0);
    EXPECT_EQ(table.decode(reader), 0x00);
    const Raw longest{0xFF, 0x00, 0xFE};
    BitReader other(longest, 0);
    EXPECT_EQ(table.decode(other), 0xFA);
    EXPECT_TRUE(other.closes());
}

TEST(HuffmanTable, RefusesTheCodeOfAllOnes) {
    const HuffmanTable table(standard_dc_codes(true));
    const Raw ones{0xFF, 0x00, 0xFF, 0x00};
    BitReader reader(ones, 0);
    EXPECT_EQ(table.decode(reader), -1);
}

TEST(Segments, QuantTablesNeedTheirExactLengthAndNoZero) {
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

TEST(Segments, HuffmanTablesNeedAPrefixCodeAndTheirExactLength) {
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

TEST(Segments, FramesAreJudgedBySizePrecisionAndSampling) {
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

TEST(Segments, TheContentOfASegmentLiesWithinTheFile) {
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

TEST(Pieces, BeginOnlyBehindRestartMarkers) {
    //               0  1     2     3  4     5     6  7     8     9  10    11
    const Raw file{1, 0xFF, 0xD0, 2, 0xFF, 0xC4, 3, 0xFF, 0xD2, 4, 0xFF, 0xD9};
    EntropySegmentWalk walk(file, 0, file.size(), true);
    auto piece = walk.next();
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->restart, -1);
    EXPECT_EQ(piece->end, 1U);
    piece = walk.next();
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->restart, 0);
    EXPECT_TRUE(piece->adjacent);
    EXPECT_EQ(piece->begin, 3U);
    piece = walk.next();
    ASSERT_TRUE(piece);
    EXPECT_EQ(piece->restart, 2);
    EXPECT_FALSE(piece->adjacent);
    EXPECT_TRUE(piece->at_eoi);
    EXPECT_FALSE(walk.next());
}

TEST(Pieces, TheNextMarkerIsNeitherStuffingNorFill) {
    const Raw file{0xFF, 0x00, 0xFF, 0xFF, 0xD1, 0xFF};
    EXPECT_EQ(next_marker(file, 0, file.size()), 3U);
    EXPECT_EQ(next_marker(file, 5, file.size()), 6U);
    EXPECT_EQ(next_marker(file, 0, 4), 4U);
}

TEST(Candidates, APictureInAnApplicationSegmentIsNested) {
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

TEST(Candidates, ALosslessStreamIsNoPicture) {
    Raw file = test::make_coded(test::coding_named("baseline 4:2:0"), 1, 320, 240);
    file[test::dissect(file).frame[0].first + 1] = 0xC3;
    const auto candidates = find_candidates(file, find_header_markers(file));
    ASSERT_FALSE(candidates.empty());
    EXPECT_TRUE(candidates[0].other_process);
    EXPECT_FALSE(candidates[0].sos_offset);
}

/// The places of the runs of a file with restarts.
struct Placed {
    explicit Placed(const Raw& file)
        : candidate(find_candidates(file, find_header_markers(file)).at(0)), frame(candidate.frame.value()),
          survey(survey_restarts(data_of(file), McuDecoder(frame, candidate.scan.value(), candidate.tables),
                                 McuTraces(frame, candidate.scan.value(), candidate.tables))),
          canvas(survey.traces, frame.mcus_wide(), frame.mcus()),
          placements(place_restarts(data_of(file), survey, canvas)) {}

    [[nodiscard]] ScanData data_of(const Raw& file) const {
        return {file, candidate.entropy, candidate.limit, candidate.tables.restart_interval, frame.mcus()};
    }

    PictureCandidate candidate;
    Frame frame;
    Survey survey;
    Canvas canvas;
    std::vector<Placement> placements;
};

/// The first half of the sixth interval, and behind it all from a given interval on.
Raw with_half_an_interval_before(std::size_t next) {
    const Raw picture = test::make_coded(test::coding_named("baseline 4:2:0, restarts"), 1, 320, 240);
    const auto intervals = test::dissect(picture).intervals;
    const std::size_t half = (intervals.at(5).first + intervals.at(5).last) / 2;
    return test::joined(test::part(picture, 0, half),
                        test::part(picture, intervals.at(next).first, picture.size()));
}

TEST(Placement, TheCanvasHoldsWhatThePictureShows) {
    const Placed placed(with_half_an_interval_before(5));
    std::vector<std::uint32_t> shown(placed.frame.mcus(), Canvas::kNone);
    std::size_t put = 0;
    for (const auto& placement : placed.placements) {
        put += placement.count;
        for (std::size_t index = 0; index < placement.count; ++index) {
            shown.at(placement.position + index) =
                static_cast<std::uint32_t>(placed.survey.runs[placement.run].trace + placement.skip + index);
        }
    }
    EXPECT_GT(put, placed.frame.mcus()); // Some places were taken twice.
    for (std::size_t position = 0; position < placed.frame.mcus(); ++position) {
        EXPECT_EQ(placed.canvas.trace(position), shown[position]) << position;
    }
}

TEST(Placement, NoRunIsPlacedTwice) {
    // Two chains behind the broken interval that the picture has no room for.
    const Raw once = with_half_an_interval_before(1);
    const Raw twice = test::joined(once, test::part(once, once.size() / 2, once.size()));
    const Placed placed(twice);
    std::set<std::size_t> runs;
    for (const auto& placement : placed.placements) {
        EXPECT_TRUE(runs.insert(placement.run).second) << placement.run;
    }
    EXPECT_EQ(runs.size(), 6U);
}

TEST(Landmarks, AreBoundedWhateverTheBytes) {
    Raw starts;
    while (starts.size() < 6U * (kMaxHeaderMarkers + 100)) {
        starts.insert(starts.end(), {0xFF, 0xD8, 0xFF, 0xE0, 0x00, 0x10});
    }
    EXPECT_EQ(find_header_markers(starts).size(), kMaxHeaderMarkers);
    EXPECT_TRUE(find_header_markers(Raw(100000, 0xFF)).empty());
    EXPECT_TRUE(find_header_markers(Raw(100000, 0)).empty());
    EXPECT_TRUE(find_header_markers({}).empty());
}

/// Pieces that all close, with nothing that tells of a loss.
std::vector<PathInterval> seamless_pieces(std::size_t count) {
    PathInterval piece;
    piece.seamless = true;
    piece.closing = 0xFF;
    return std::vector<PathInterval>(count, piece);
}

/// Pieces fit with these odds in one state, and as badly in all others.
PathFits fits_in(const std::vector<std::size_t>& states, std::size_t count, float odds) {
    PathFits fits;
    for (const std::size_t right : states) {
        for (std::size_t state = 0; state < count; ++state) {
            fits.alone.push_back(state == right ? odds : -odds);
        }
    }
    fits.joined.resize(fits.alone.size());
    fits.below.resize(fits.alone.size());
    return fits;
}

std::vector<std::size_t> states_of(const std::vector<PathStep>& path) {
    std::vector<std::size_t> states;
    states.reserve(path.size());
    for (const auto& step : path) {
        states.push_back(step.state);
    }
    return states;
}

bool all_sure(const std::vector<PathStep>& path) {
    return std::all_of(path.begin(), path.end(), [](const PathStep& step) { return step.sure; });
}

TEST(IntervalPath, ALossLiesWhereTheFitChanges) {
    const std::vector<std::size_t> states{0, 0, 0, 1, 1, 1, 1};
    const auto path = find_path(seamless_pieces(7), fits_in(states, 2, 10), {0, 1}, true);
    EXPECT_EQ(states_of(path), states);
    EXPECT_TRUE(all_sure(path));
}

TEST(IntervalPath, SeveralLossesAddUp) {
    const std::vector<std::size_t> states{0, 0, 1, 1, 1, 3, 3};
    EXPECT_EQ(states_of(find_path(seamless_pieces(7), fits_in(states, 4, 10), {0, 1, 2, 3}, true)), states);
}

TEST(IntervalPath, ALossIsNeverTakenBack) {
    const auto path = find_path(seamless_pieces(5), fits_in({0, 1, 0, 1, 1}, 2, 10), {0, 1}, true);
    EXPECT_TRUE(std::is_sorted(path.begin(), path.end(),
                               [](const PathStep& a, const PathStep& b) { return a.state < b.state; }));
}

TEST(IntervalPath, OnePieceThatFitsElsewhereByChanceIsNoSecondLoss) {
    const auto path = find_path(seamless_pieces(6), fits_in({0, 0, 1, 2, 2, 2}, 3, 5), {0, 1, 2}, true);
    EXPECT_EQ(path[2].state % 2, 0U);
    EXPECT_FALSE(path[2].sure);
}

TEST(IntervalPath, WhereNothingFitsBetterNothingIsSure) {
    const auto path = find_path(seamless_pieces(6), fits_in({0, 0, 0, 0, 0, 0}, 2, 0), {0, 1}, true);
    EXPECT_TRUE(std::none_of(path.begin(), path.end(), [](const PathStep& step) { return step.sure; }));
}

TEST(IntervalPath, ALossThatShowsIsTakenBeforeOneThatDoesNot) {
    auto pieces = seamless_pieces(6);
    pieces[4].seamless = false;
    const auto path = find_path(pieces, fits_in({0, 0, 0, 0, 0, 0}, 2, 0), {0, 1}, true);
    EXPECT_EQ(states_of(path), (std::vector<std::size_t>{0, 0, 0, 0, 1, 1}));
    EXPECT_TRUE(all_sure(path));
}

TEST(IntervalPath, OfTwoLossesThatShowTheBytesTellWhichIsTheLonger) {
    auto pieces = seamless_pieces(6);
    pieces[2].seamless = false;
    pieces[4].seamless = false;
    pieces[4].eights = 2;
    const auto path = find_path(pieces, fits_in({0, 0, 0, 0, 0, 0}, 2, 0), {0, 2}, true);
    EXPECT_EQ(states_of(path), (std::vector<std::size_t>{0, 0, 0, 0, 1, 1}));
}

TEST(IntervalPath, ALossMayLieBehindAllPieces) {
    const std::vector<std::size_t> states(5, 0);
    EXPECT_EQ(states_of(find_path(seamless_pieces(5), fits_in(states, 2, 10), {0, 1}, true)), states);
    EXPECT_EQ(states_of(find_path(seamless_pieces(5), fits_in(states, 2, 0), {0, 1}, false)), states);
}

TEST(IntervalPath, BelowALossNothingCountsThatBelongsToAnotherPlace) {
    // Pieces behind the loss fit to those above them only where those are not.
    auto fits = fits_in({0, 0, 0, 0, 0, 0}, 2, 0);
    fits.reach = 2;
    fits.below[3 * 2 + 0] = -20;
    fits.below[3 * 2 + 1] = -20;
    const auto path = find_path(seamless_pieces(6), fits, {0, 1}, true);
    EXPECT_EQ(path[1].state, 0U);
    EXPECT_EQ(path[3].state, 1U);
}

} // namespace
} // namespace still_mend
