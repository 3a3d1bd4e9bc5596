#include "locate/CodedRow.h"

#include "CodedPhoto.h"

#include <gtest/gtest.h>

namespace test {
namespace {

using raw_mend::CodedRow;
using raw_mend::CodedSample;

constexpr std::size_t kNone = ~std::size_t{0};

struct Chosen {
    CodedRow row;
    std::vector<raw_mend::CodedPlace> places;

    /// For each piece, the offset of its place; kNone if it has none or is not certain.
    [[nodiscard]] std::vector<std::size_t> certain() const {
        std::vector<std::size_t> offsets;
        for (const auto& piece : row.pieces) {
            offsets.push_back(piece && piece->certain ? static_cast<std::size_t>(places[piece->place].offset)
                                                      : kNone);
        }
        return offsets;
    }
};

Chosen choose(const Bytes& damaged, const CodedPhoto& sample) {
    const auto read = CodedSample::read(sample.bytes, sample.streams).value();
    Chosen chosen;
    chosen.places = raw_mend::find_coded_streams(damaged, read);
    chosen.row = raw_mend::choose_row(damaged, chosen.places, read);
    return chosen;
}

/// The offsets of the streams, with kNone for some.
std::vector<std::size_t> offsets_of(const CodedPhoto& photo, std::size_t displacement = 0,
                                    const std::vector<std::size_t>& without = {}) {
    std::vector<std::size_t> offsets;
    for (const auto& stream : photo.streams) {
        offsets.push_back(static_cast<std::size_t>(stream.begin) + displacement);
    }
    for (const std::size_t nth : without) {
        offsets[nth] = kNone;
    }
    return offsets;
}

std::size_t at(std::uint64_t offset) {
    return static_cast<std::size_t>(offset);
}

class CodedRows : public ::testing::Test {
  protected:
    const CodedPhoto sample_{CodedPhoto::Options{.seed = 1, .alignment = 2}};
    const CodedPhoto photo_{CodedPhoto::Options{.seed = 2, .before = 4000, .alignment = 2}};

    /// The photograph with all bytes from one to another zero.
    [[nodiscard]] Bytes without(std::uint64_t begin, std::uint64_t end) const {
        return zeroed(photo_.bytes, at(begin), at(end));
    }
};

TEST_F(CodedRows, WholeOneIsCertain) {
    const auto chosen = choose(photo_.bytes, sample_);
    EXPECT_EQ(chosen.certain(), offsets_of(photo_));
    EXPECT_TRUE(chosen.row.doubts.empty());
    EXPECT_TRUE(chosen.row.unused.empty());
    EXPECT_TRUE(chosen.row.headless.empty());
    EXPECT_EQ(chosen.row.found(), 6U);
    EXPECT_EQ(choose(joined(noise(77, 1), photo_.bytes), sample_).certain(), offsets_of(photo_, 77));
}

TEST_F(CodedRows, PiecesKeepTheOrderOfTheContainer) {
    CodedPhoto sample = sample_;
    std::swap(sample.streams[1], sample.streams[3]);
    auto expected = offsets_of(photo_);
    std::swap(expected[1], expected[3]);
    EXPECT_EQ(choose(photo_.bytes, sample).certain(), expected);
}

TEST_F(CodedRows, NoPlacesAreNoRow) {
    const auto chosen = choose(noise(5000, 1), sample_);
    EXPECT_EQ(chosen.row.found(), 0U);
    EXPECT_EQ(chosen.row.pieces.size(), 6U);
}

TEST_F(CodedRows, RemainsBeforeAndAfterAreUnused) {
    const CodedPhoto other(CodedPhoto::Options{.seed = 3, .before = 0, .alignment = 2});
    const Bytes remains = part(other.bytes, 0, at(other.streams[3].end));
    const Bytes gap = Bytes(500, 0x33);
    const auto before = choose(joined(joined(remains, gap), photo_.bytes), sample_);
    EXPECT_EQ(before.certain(), offsets_of(photo_, remains.size() + gap.size()));
    EXPECT_EQ(before.row.unused, (std::vector<std::size_t>{0, 1, 2, 3}));
    const auto after = choose(joined(joined(photo_.bytes, gap), remains), sample_);
    EXPECT_EQ(after.certain(), offsets_of(photo_));
    EXPECT_EQ(after.row.unused, (std::vector<std::size_t>{6, 7, 8, 9}));
    EXPECT_TRUE(after.row.doubts.empty());
}

TEST_F(CodedRows, TwoWholeRowsAreADoubt) {
    const CodedPhoto other(CodedPhoto::Options{.seed = 3, .before = 50000, .alignment = 2});
    const auto chosen = choose(joined(photo_.bytes, other.bytes), sample_);
    EXPECT_EQ(chosen.row.doubts.size(), 2U);
    EXPECT_EQ(chosen.certain(), std::vector<std::size_t>(6, kNone));
    ASSERT_EQ(chosen.row.found(), 6U);
    EXPECT_EQ(chosen.row.pieces[0]->place, 6U) << "the one at the end of the file";
    const auto reverse = choose(joined(other.bytes, photo_.bytes), sample_);
    EXPECT_EQ(reverse.row.pieces[0]->place, 6U);
    EXPECT_EQ(reverse.row.doubts.size(), 2U);
    const auto none = choose(joined(joined(photo_.bytes, other.bytes), Bytes(5000, 0x33)), sample_);
    EXPECT_EQ(none.row.pieces[0]->place, 0U) << "the one near the sample's offset";
    EXPECT_EQ(none.row.doubts.size(), 2U);
}

TEST_F(CodedRows, RowsThatAreAllBrokenAreADoubt) {
    const CodedPhoto other(CodedPhoto::Options{.seed = 3, .before = 999, .alignment = 2});
    const auto& cut = other.streams[2];
    const Bytes broken = zeroed(other.bytes, at(cut.begin), at(cut.begin) + 100);
    const auto chosen =
        choose(joined(broken, without(photo_.streams[3].begin, photo_.streams[3].end)), sample_);
    EXPECT_FALSE(chosen.row.doubts.empty());
    EXPECT_EQ(chosen.certain(), std::vector<std::size_t>(6, kNone));
}

TEST_F(CodedRows, OneLostHeadIsCountedBetweenItsNeighbours) {
    for (std::size_t nth = 1; nth < 5; ++nth) {
        const auto& stream = photo_.streams[nth];
        const auto all = choose(without(stream.begin, stream.end), sample_);
        EXPECT_EQ(all.certain(), offsets_of(photo_, 0, {nth})) << nth;
        EXPECT_TRUE(all.row.doubts.empty());
        const auto head = choose(without(stream.begin, stream.begin + 64), sample_);
        EXPECT_EQ(head.certain(), offsets_of(photo_, 0, {nth})) << nth;
        EXPECT_TRUE(head.row.doubts.empty());
        ASSERT_EQ(head.row.headless.size(), 1U) << "its data survive";
        EXPECT_LE(head.row.headless[0].range.begin, stream.begin + 128);
        EXPECT_EQ(head.row.headless[0].range.end, stream.end);
        EXPECT_TRUE(head.row.headless[0].closed);
    }
}

TEST_F(CodedRows, SeveralLostHeadsInOneGapAreCounted) {
    const auto chosen = choose(without(photo_.streams[1].begin, photo_.streams[3].end), sample_);
    EXPECT_EQ(chosen.certain(), offsets_of(photo_, 0, {1, 2, 3}));
    const auto two = choose(zeroed(without(photo_.streams[1].begin, photo_.streams[1].end),
                                   at(photo_.streams[4].begin), at(photo_.streams[4].end)),
                            sample_);
    EXPECT_EQ(two.certain(), offsets_of(photo_, 0, {1, 4}));
}

TEST_F(CodedRows, DamageAcrossABorderLeavesTheOthersCertain) {
    const auto chosen = choose(without(photo_.streams[2].end - 500, photo_.streams[3].begin + 500), sample_);
    EXPECT_EQ(chosen.certain(), offsets_of(photo_, 0, {3}));
    EXPECT_TRUE(chosen.row.doubts.empty());
}

TEST_F(CodedRows, LostHeadsInTwoGapsThatCannotBeToldApartAreADoubt) {
    // Two streams that are not proved, one of which holds two pieces.
    Bytes damaged = without(photo_.streams[1].end - 500, photo_.streams[2].begin + 500);
    put_bytes(damaged, at(photo_.streams[4].begin) + 900, noise(300, 1));
    const auto chosen = choose(damaged, sample_);
    EXPECT_EQ(chosen.row.doubts.size(), 1U);
    EXPECT_EQ(chosen.certain(),
              (std::vector<std::size_t>{at(photo_.streams[0].begin), at(photo_.streams[1].begin), kNone,
                                        kNone, kNone, at(photo_.streams[5].begin)}));
    ASSERT_EQ(chosen.row.found(), 5U);
    EXPECT_FALSE(chosen.row.pieces[2]) << "likely by its length";
}

TEST_F(CodedRows, FirstHeadIsMissedByTheDataItLeft) {
    const auto chosen = choose(without(0, photo_.streams[0].begin + 300), sample_);
    EXPECT_EQ(chosen.certain(), offsets_of(photo_, 0, {0}));
    ASSERT_EQ(chosen.row.headless.size(), 1U);
    EXPECT_EQ(chosen.row.headless[0].range.end, photo_.streams[0].end);
}

TEST_F(CodedRows, FirstStreamsThatAreZeroAreADoubtIfTheEndIsLostToo) {
    const Bytes damaged = without(0, photo_.streams[2].begin);
    EXPECT_EQ(choose(damaged, sample_).certain(), offsets_of(photo_, 0, {0, 1}))
        << "the file's end is intact";
    const auto both = choose(part(damaged, 0, at(photo_.streams[4].begin) + 700), sample_);
    EXPECT_EQ(both.certain(), std::vector<std::size_t>(6, kNone));
    EXPECT_EQ(both.row.doubts.size(), 1U);
}

TEST_F(CodedRows, TruncatedOneMissesItsLastPieces) {
    for (const std::uint64_t size : {photo_.streams[4].begin, photo_.streams[4].begin + 1000}) {
        const auto chosen = choose(part(photo_.bytes, 0, at(size)), sample_);
        const bool within = size != photo_.streams[4].begin;
        EXPECT_EQ(
            chosen.certain(),
            offsets_of(photo_, 0, within ? std::vector<std::size_t>{5} : std::vector<std::size_t>{4, 5}));
        EXPECT_TRUE(chosen.row.doubts.empty());
    }
}

TEST_F(CodedRows, EoiOfAPreviewBeforeTheFirstIsNoPiece) {
    const CodedPhoto sample(CodedPhoto::Options{.seed = 1, .alignment = 2, .eoi_before = true});
    const CodedPhoto photo(
        CodedPhoto::Options{.seed = 2, .before = 5000, .alignment = 2, .eoi_before = true});
    const Bytes damaged = part(photo.bytes, 0, at(photo.streams[4].begin) + 700);
    EXPECT_EQ(choose(damaged, sample).certain(), offsets_of(photo, 0, {5}));
    const Bytes zero = zeroed(damaged, 0, at(photo.streams[0].begin) - 200);
    EXPECT_EQ(choose(zero, sample).certain(), std::vector<std::size_t>(6, kNone)) << "whose EOI is not known";
}

TEST_F(CodedRows, HeadOfAPreviewAndEndOfAStreamAreNoPreview) {
    const CodedPhoto sample(CodedPhoto::Options{.seed = 1, .alignment = 2, .eoi_before = true});
    const CodedPhoto photo(
        CodedPhoto::Options{.seed = 2, .before = 9000, .alignment = 2, .eoi_before = true});
    const Bytes truncated = part(photo.bytes, 0, at(photo.streams[4].begin) + 700);
    const Bytes before = part(truncated, 0, at(photo.streams[0].begin) - 300);
    const Bytes after = part(truncated, at(photo.streams[0].end) - 1500, truncated.size());
    EXPECT_EQ(choose(joined(before, after), sample).certain(), std::vector<std::size_t>(6, kNone));
}

TEST_F(CodedRows, ExchangedHeadsAreADoubt) {
    // The bytes around the head of stream 4 change places with bytes in the middle of stream 1.
    Bytes damaged = photo_.bytes;
    const std::size_t one = at(photo_.streams[1].begin) + 1200;
    const std::size_t other = at(photo_.streams[4].begin) - 300;
    std::swap_ranges(damaged.begin() + static_cast<std::ptrdiff_t>(one),
                     damaged.begin() + static_cast<std::ptrdiff_t>(one) + 600,
                     damaged.begin() + static_cast<std::ptrdiff_t>(other));
    const auto chosen = choose(damaged, sample_);
    ASSERT_EQ(chosen.places.size(), 6U);
    EXPECT_EQ(chosen.row.doubts.size(), 1U);
    const std::vector<std::size_t> expected{
        at(photo_.streams[0].begin), at(photo_.streams[1].begin), kNone, kNone, kNone,
        at(photo_.streams[5].begin)};
    EXPECT_EQ(chosen.certain(), expected);
}

TEST_F(CodedRows, HeadThatWasMovedIntoAGapIsADoubt) {
    // The head of stream 2 replaces that of stream 4 and is somewhat after it: three heads are lost, one is
    // there twice.
    Bytes damaged = photo_.bytes;
    const std::size_t moved = at(photo_.streams[2].begin) - 600;
    const std::size_t to = at(photo_.streams[4].begin) + 40;
    std::swap_ranges(damaged.begin() + static_cast<std::ptrdiff_t>(moved),
                     damaged.begin() + static_cast<std::ptrdiff_t>(moved) + 800,
                     damaged.begin() + static_cast<std::ptrdiff_t>(to));
    const auto chosen = choose(damaged, sample_);
    ASSERT_EQ(chosen.places.size(), 5U);
    EXPECT_EQ(chosen.row.doubts.size(), 1U);
    const auto certain = chosen.certain();
    EXPECT_EQ(certain[2], kNone);
    EXPECT_EQ(certain[3], kNone);
    EXPECT_EQ(certain[4], kNone);
    EXPECT_EQ(certain[5], at(photo_.streams[5].begin));
}

TEST_F(CodedRows, FrameOfTheLastPieceMustBeInItsPlace) {
    const CodedPhoto::Options options{.seed = 1, .alignment = 2, .last_rows = 40};
    const CodedPhoto sample(options);
    const CodedPhoto photo(CodedPhoto::Options{.seed = 2, .before = 4000, .alignment = 2, .last_rows = 40});
    EXPECT_EQ(choose(photo.bytes, sample).certain(), offsets_of(photo));
    // Another photograph's streams before it, without a break: seven in a row, but only one row ends as it
    // must.
    const CodedPhoto more(CodedPhoto::Options{.seed = 3, .pieces = 1, .before = 2000, .alignment = 2});
    Bytes bytes = more.bytes;
    bytes.resize((bytes.size() + 1) / 2 * 2);
    const std::size_t displacement = bytes.size() - 4000;
    bytes = joined(bytes, part(photo.bytes, 4000, photo.bytes.size()));
    EXPECT_EQ(choose(bytes, sample).certain(), offsets_of(photo, displacement));
}

TEST(CodedRow, SingleStreamIsCertainEvenIfDamaged) {
    const CodedPhoto sample(CodedPhoto::Options{.seed = 1, .pieces = 1});
    CodedPhoto photo(CodedPhoto::Options{.seed = 2, .pieces = 1, .before = 5000});
    EXPECT_EQ(choose(photo.bytes, sample).certain(), offsets_of(photo));
    put_bytes(photo.bytes, at(photo.streams[0].begin) + 700, noise(200, 1));
    EXPECT_EQ(choose(photo.bytes, sample).certain(), offsets_of(photo));
    const CodedPhoto other(CodedPhoto::Options{.seed = 3, .pieces = 1});
    EXPECT_FALSE(choose(joined(photo.bytes, other.bytes), sample).row.doubts.empty());
}

TEST(CodedRow, SingleStreamThatIsProvedIsCertainBesideRemainsOfAnother) {
    const CodedPhoto sample(CodedPhoto::Options{.seed = 1, .pieces = 1});
    const CodedPhoto photo(CodedPhoto::Options{.seed = 2, .pieces = 1, .before = 5000});
    const CodedPhoto other(CodedPhoto::Options{.seed = 3, .pieces = 1});
    const std::size_t cut = at(other.streams[0].begin) + 700;
    const auto chosen =
        choose(joined(part(other.bytes, 0, cut), part(photo.bytes, 5000, photo.bytes.size())), sample);
    EXPECT_EQ(chosen.certain(), std::vector<std::size_t>{cut});
    EXPECT_EQ(chosen.row.doubts.size(), 1U) << "the remains might be the file's own image";
}

TEST(CodedRow, SingleStreamWithoutAHeadIsReported) {
    const CodedPhoto sample(CodedPhoto::Options{.seed = 1, .pieces = 1});
    const CodedPhoto photo(CodedPhoto::Options{.seed = 2, .pieces = 1, .before = 5000});
    const auto chosen = choose(zeroed(photo.bytes, 0, at(photo.streams[0].begin) + 512), sample);
    EXPECT_EQ(chosen.row.found(), 0U);
    ASSERT_EQ(chosen.row.headless.size(), 1U);
    EXPECT_EQ(chosen.row.headless[0].range.end, photo.streams[0].end);
    EXPECT_TRUE(chosen.row.headless[0].closed);
}

} // namespace
} // namespace test
