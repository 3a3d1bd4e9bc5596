#include "locate/CodedRow.h"

#include "support/RealFiles.h"

#include <lossless_jpeg/Stream.h>

#include <gtest/gtest.h>

#include <map>
#include <random>

// Photographs that cameras and a converter wrote, damaged here.

namespace test {
namespace {

using raw_mend::ByteRange;
using raw_mend::CodedSample;

/// All complete lossless JPEGs of an intact file.
std::vector<ByteRange> streams_of(const Bytes& file) {
    std::vector<ByteRange> streams;
    for (std::size_t at = 0; at + 2 < file.size(); ++at) {
        const bool soi = file[at] == 0xFF && file[at + 1] == 0xD8 && file[at + 2] == 0xFF;
        const auto head = soi ? lossless_jpeg::read_head(file, at) : std::nullopt;
        const auto progress = head ? lossless_jpeg::check(file, *head) : lossless_jpeg::Progress{};
        if (head && progress.is_complete()) {
            streams.push_back({at, progress.end});
        }
    }
    return streams;
}

/// A damaged file, and where the bytes of the original are in it: at the offset of the key and after it,
/// displaced by the value, up to the next key.
struct Damaged {
    Bytes bytes;
    std::map<std::uint64_t, std::optional<std::int64_t>> displacements;

    /// The offset of a range of the original, if all of it is there.
    [[nodiscard]] std::optional<std::uint64_t> place_of(const ByteRange& range) const {
        const auto next = displacements.upper_bound(range.begin);
        const auto& displacement = std::prev(next)->second;
        const bool whole = next == displacements.end() || next->first >= range.end;
        return whole && displacement ? std::optional(range.begin + static_cast<std::uint64_t>(*displacement))
                                     : std::nullopt;
    }
};

enum class Kind { kZeroed, kNoise, kLost, kPutIn, kTruncated };

Damaged damage(const Bytes& file, Kind kind, std::size_t at, std::size_t count) {
    const auto size = static_cast<std::int64_t>(count);
    const Bytes foreign = kind == Kind::kZeroed ? Bytes(count, 0) : noise(count, 3);
    const Bytes before = part(file, 0, at);
    const std::size_t after = std::min(at + count, file.size());
    Damaged damaged{before, {{0, 0}}};
    damaged.displacements[at] = std::nullopt;
    if (kind == Kind::kTruncated) {
        return damaged;
    }
    if (kind == Kind::kPutIn) {
        damaged.displacements[at] = size;
        damaged.bytes = joined(joined(before, foreign), part(file, at, file.size()));
        return damaged;
    }
    damaged.displacements[after] = kind == Kind::kLost ? -size : 0;
    damaged.bytes =
        joined(kind == Kind::kLost ? before : joined(before, foreign), part(file, after, file.size()));
    return damaged;
}

class CodedRealFiles : public ::testing::Test {
  protected:
    /// Every stream that survives must be proved, and every index that is certain must be right.
    static void expect_right(const CodedSample& sample, const std::vector<ByteRange>& streams,
                             const Damaged& damaged) {
        const auto places = raw_mend::find_coded_streams(damaged.bytes, sample);
        const auto row = raw_mend::choose_row(damaged.bytes, places, sample);
        std::map<std::uint64_t, std::size_t> proved;
        for (std::size_t nth = 0; nth < places.size(); ++nth) {
            if (places[nth].proved) {
                proved[places[nth].offset] = nth;
            }
        }
        std::size_t intact = 0;
        std::size_t certain = 0;
        for (std::size_t nth = 0; nth < streams.size(); ++nth) {
            const auto place = damaged.place_of(streams[nth]);
            const auto& piece = row.pieces[nth];
            if (place) {
                ++intact;
                ASSERT_TRUE(proved.contains(*place)) << nth;
                EXPECT_EQ(places[proved[*place]].end, *place + streams[nth].length());
                EXPECT_TRUE(!piece || !piece->certain || piece->place == proved[*place]) << nth;
                certain += piece && piece->certain ? 1U : 0U;
            } else if (piece && piece->certain) {
                EXPECT_FALSE(places[piece->place].proved) << nth;
            }
        }
        EXPECT_GE(certain * 4, intact * 3) << "most of them are certain";
    }

    static void try_all(const Bytes& sample_file, const Bytes& file) {
        const auto sample = CodedSample::read(sample_file, streams_of(sample_file));
        ASSERT_TRUE(sample);
        const auto streams = streams_of(file);
        ASSERT_EQ(streams.size(), sample->count());
        expect_right(*sample, streams, {file, {{0, 0}}});
        expect_right(*sample, streams, damage(file, Kind::kZeroed, 0, 4096));
        expect_right(*sample, streams, damage(file, Kind::kZeroed, 0, at(streams[0].begin)));
        expect_right(*sample, streams, damage(file, Kind::kPutIn, 0, 1000));
        std::mt19937 random(1);
        for (const Kind kind : {Kind::kZeroed, Kind::kNoise, Kind::kLost, Kind::kPutIn, Kind::kTruncated}) {
            for (const std::size_t count : {4096U, 32768U}) {
                const std::size_t place =
                    at(streams[0].begin) + random() % (file.size() - at(streams[0].begin) - count);
                SCOPED_TRACE(std::to_string(static_cast<int>(kind)) + ", " + std::to_string(count) +
                             " bytes at " + std::to_string(place));
                expect_right(*sample, streams, damage(file, kind, place / 512 * 512, count));
            }
        }
    }

    static std::size_t at(std::uint64_t offset) { return static_cast<std::size_t>(offset); }
};

TEST_F(CodedRealFiles, StripOfACr2IsFoundWhateverTheDamage) {
    REAL_FILE_OR_SKIP(sample, "pairs/canon-30d/IMG_5952.CR2");
    REAL_FILE_OR_SKIP(file, "pairs/canon-30d/IMG_0848.CR2");
    try_all(sample, file);
}

TEST_F(CodedRealFiles, ManyTilesOfADngAreFoundWhateverTheDamage) {
    REAL_FILE_OR_SKIP(sample, "pairs/nikon-d5000-dng/sample1.dng");
    REAL_FILE_OR_SKIP(file, "pairs/nikon-d5000-dng/sample2.dng");
    try_all(sample, file);
}

TEST_F(CodedRealFiles, TwoTilesOfADngAreFoundWhateverTheDamage) {
    REAL_FILE_OR_SKIP(file, "dng/blackmagic-pocket.dng");
    try_all(file, file);
}

} // namespace
} // namespace test
