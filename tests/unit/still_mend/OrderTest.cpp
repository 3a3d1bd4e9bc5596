#include "Laboratory.h"
#include "Salvaged.h"
#include "header/HeaderMarkers.h"
#include "order/FilePieces.h"
#include "order/ScanWalk.h"
#include "order/SeamFit.h"

#include "support/Jpeg.h"

#include <gtest/gtest.h>

#include <algorithm>

// Files whose clusters are in another order, repeated, or parted by foreign data.

namespace test {
namespace {

constexpr std::size_t kKib = 1024;
constexpr auto kPutInOrder = static_cast<unsigned>(STILL_MEND_PUT_IN_ORDER);

const std::vector<const char*>& sequential_codings() {
    static const std::vector<const char*> all{"baseline 4:2:0", "baseline 4:2:0, restarts",
                                              "baseline 4:4:4, optimised, restarts",
                                              "baseline 4:2:2, optimised", "baseline grey"};
    return all;
}

Bytes picture(const char* coding, unsigned scene = 1) {
    return make_coded(coding_named(coding), scene, 1280, 960);
}

/// The bytes with [second, end) before [first, second).
Bytes exchanged(const Bytes& file, std::size_t first, std::size_t second, std::size_t end) {
    return joined(joined(part(file, 0, first), part(file, second, end)),
                  joined(part(file, first, second), part(file, end, file.size())));
}

/// The bytes with two clusters exchanged.
Bytes with_swapped(Bytes file, std::size_t cluster, std::size_t one, std::size_t other) {
    const auto begin = file.begin();
    const auto at = [&](std::size_t number) { return begin + static_cast<std::ptrdiff_t>(number * cluster); };
    std::swap_ranges(at(one), at(one + 1), at(other));
    return file;
}

/// Clusters of both in turn, as long as there are any.
Bytes interleaved(const Bytes& one, const Bytes& other, std::size_t cluster) {
    Bytes file;
    for (std::size_t place = 0; place < std::max(one.size(), other.size()); place += cluster) {
        for (const Bytes* from : {&one, &other}) {
            const Bytes next =
                part(*from, std::min(place, from->size()), std::min(place + cluster, from->size()));
            file.insert(file.end(), next.begin(), next.end());
        }
    }
    return file;
}

void expect_restored(const Bytes& damaged, const Bytes& original, std::size_t first_moved,
                     const std::string& what) {
    const auto [code, output, report] = salvage(damaged);
    EXPECT_EQ(code, STILL_MEND_OK) << what;
    EXPECT_TRUE(output == original) << what;
    EXPECT_EQ(report.own_mcu_count, report.mcu_count) << what;
    EXPECT_EQ(report.warnings, kPutInOrder) << what;
    EXPECT_EQ(report.first_bad_byte, first_moved) << what;
}

TEST(Order, OfSwappedClustersIsRestoredExactly) {
    for (const char* coding : sequential_codings()) {
        const Bytes jpeg = picture(coding);
        for (const std::size_t cluster : {std::size_t{512}, 4 * kKib}) {
            const std::size_t count = jpeg.size() / cluster;
            for (const std::size_t apart : {std::size_t{1}, count / 3}) {
                const std::size_t one = count / 3;
                expect_restored(with_swapped(jpeg, cluster, one, one + apart), jpeg, one * cluster,
                                coding + (", " + std::to_string(cluster)) + ", " + std::to_string(apart));
            }
        }
    }
}

TEST(Order, OfSwappedFragmentsIsRestoredExactly) {
    for (const char* coding : sequential_codings()) {
        const Bytes jpeg = picture(coding);
        const std::size_t quarter = jpeg.size() / 4 / (4 * kKib) * 4 * kKib;
        expect_restored(exchanged(jpeg, quarter, 2 * quarter, 3 * quarter), jpeg, quarter, coding);
        // The end of the file before its middle.
        const std::size_t last = jpeg.size() / (4 * kKib) * 4 * kKib;
        Bytes filled = jpeg; // A file system gives the last cluster as a whole.
        filled.resize(last + 4 * kKib, 0);
        const auto [code, output, report] = salvage(exchanged(filled, quarter, 2 * quarter, filled.size()));
        EXPECT_EQ(code, STILL_MEND_OK) << coding;
        EXPECT_TRUE(part(output, 0, std::min(jpeg.size(), output.size())) == jpeg) << coding;
        EXPECT_EQ(report.warnings, kPutInOrder) << coding;
    }
}

TEST(Order, ARepeatedClusterIsLeftOut) {
    for (const char* coding : sequential_codings()) {
        const Bytes jpeg = picture(coding);
        const std::size_t place = jpeg.size() / 3 / (4 * kKib) * 4 * kKib;
        const Bytes damaged = joined(part(jpeg, 0, place + 4 * kKib), part(jpeg, place, jpeg.size()));
        expect_restored(damaged, jpeg, place + 4 * kKib, coding);
    }
}

TEST(Order, ForeignClustersAreLeftOut) {
    for (const char* coding : sequential_codings()) {
        const Bytes jpeg = picture(coding);
        const Bytes other = picture("baseline 4:2:2, restarts", 2);
        const std::size_t place = jpeg.size() / 3 / (4 * kKib) * 4 * kKib;
        const Bytes data = part(other, 8 * kKib, 40 * kKib); // Without a head.
        expect_restored(joined(joined(part(jpeg, 0, place), data), part(jpeg, place, jpeg.size())), jpeg,
                        place, coding);
        const Bytes head = part(other, 0, 16 * kKib);
        expect_restored(joined(joined(part(jpeg, 0, place), head), part(jpeg, place, jpeg.size())), jpeg,
                        place, coding);
    }
}

TEST(Order, AnInterleavedJpegOfTheSameSettingsIsLeftOut) {
    for (const char* coding : sequential_codings()) {
        const Bytes jpeg = picture(coding);
        for (const std::size_t cluster : {4 * kKib, 32 * kKib}) {
            expect_restored(interleaved(jpeg, picture(coding, 3), cluster), jpeg, cluster,
                            coding + (", " + std::to_string(cluster)));
        }
    }
}

TEST(Order, WhatFollowsTheEndIsKeptUnlessOtherDataAreLeftOut) {
    const Bytes jpeg = picture("baseline 4:2:0");
    const Bytes with_trailer = joined(jpeg, noise(20000, 1));
    const std::size_t cluster = 4 * kKib;
    expect_restored(with_swapped(with_trailer, cluster, 5, 6), with_trailer, 5 * cluster, "swapped");
    expect_restored(
        joined(part(with_trailer, 0, 6 * cluster), part(with_trailer, 5 * cluster, with_trailer.size())),
        with_trailer, 6 * cluster, "repeated");
    expect_restored(joined(joined(part(with_trailer, 0, 5 * cluster), noise(cluster, 2)),
                           part(with_trailer, 5 * cluster, with_trailer.size())),
                    jpeg, 5 * cluster, "foreign");
}

TEST(Order, IsNotClaimedWhereAPieceIsMissing) {
    for (const char* coding : sequential_codings()) {
        const Bytes jpeg = picture(coding);
        const std::size_t cluster = 4 * kKib;
        const Bytes swapped = with_swapped(jpeg, cluster, 5, 6);
        const Bytes damaged =
            joined(part(swapped, 0, 10 * cluster), part(swapped, 11 * cluster, swapped.size()));
        const auto [code, output, report] = salvage(damaged);
        EXPECT_EQ(report.warnings & kPutInOrder, 0U) << coding;
        EXPECT_LT(report.own_mcu_count, report.mcu_count) << coding;
    }
}

/// The picture, and its only candidate.
struct Opened {
    Bytes jpeg;
    still_mend::PictureCandidate candidate;
};
Opened opened(const char* coding) {
    Opened result{make_coded(coding_named(coding), 1, 640, 480), {}};
    result.candidate =
        still_mend::find_candidates(result.jpeg, still_mend::find_header_markers(result.jpeg)).at(0);
    return result;
}

constexpr std::size_t kAll = std::size_t{1} << 40U;
using State = still_mend::ScanWalk::State;

TEST(ScanWalk, DecodesPiecesAsTheyComeUpToEoi) {
    for (const char* coding : sequential_codings()) {
        const auto [jpeg, candidate] = opened(coding);
        for (const std::size_t size : {std::size_t{1}, std::size_t{7}, std::size_t{512}}) {
            still_mend::ScanWalk walk(jpeg, candidate, candidate.entropy);
            std::size_t done = candidate.entropy;
            State state = State::kHungry;
            for (; state == State::kHungry && done < jpeg.size(); done += size) {
                walk.append(still_mend::Bytes(jpeg).subspan(done, std::min(size, jpeg.size() - done)));
                state = walk.decode(kAll);
            }
            EXPECT_EQ(state, State::kDone) << coding << ", " << size;
            EXPECT_EQ(walk.place().byte, jpeg.size()) << coding << ", " << size;
            EXPECT_EQ(walk.traces().size(), candidate.frame->mcus()) << coding << ", " << size;
        }
    }
}

TEST(ScanWalk, GoesBackToWhereItWas) {
    for (const char* coding : sequential_codings()) {
        const auto [jpeg, candidate] = opened(coding);
        const std::size_t half = jpeg.size() / 2;
        still_mend::ScanWalk walk(jpeg, candidate, half);
        ASSERT_EQ(walk.decode(kAll), State::kHungry) << coding;
        const auto place = walk.place();
        walk.append(noise(1000, 1));
        static_cast<void>(walk.decode(kAll));
        walk.go_back(place);
        walk.append(still_mend::Bytes(jpeg).subspan(half));
        EXPECT_EQ(walk.decode(kAll), State::kDone) << coding;
        EXPECT_TRUE(std::ranges::equal(walk.bytes(), jpeg)) << coding;
    }
}

TEST(ScanWalk, BreaksOffAtARestartWithTheWrongNumber) {
    const auto [jpeg, candidate] = opened("baseline 4:2:0, restarts");
    const auto intervals = dissect(jpeg).intervals;
    Bytes changed = jpeg;
    unsigned char& code = changed[intervals.at(20).first + 1];
    code = static_cast<unsigned char>(code == 0xD7 ? 0xD0 : code + 1);
    still_mend::ScanWalk walk(changed, candidate, changed.size());
    EXPECT_EQ(walk.decode(kAll), State::kBroken);
    EXPECT_EQ(walk.place().mcus, 20 * candidate.tables.restart_interval);
}

TEST(ScanWalk, BreaksOffWhereTheLastMcuIsNotFollowedByEoi) {
    const auto [jpeg, candidate] = opened("baseline 4:2:0");
    Bytes changed = jpeg;
    changed[dissect(jpeg).end.first + 1] = 0xD0;
    still_mend::ScanWalk walk(changed, candidate, changed.size());
    EXPECT_EQ(walk.decode(kAll), State::kBroken);
}

TEST(ScanWalk, BreaksOffWhereBitsAreLeftAfterTheLastMcu) {
    const auto [jpeg, candidate] = opened("baseline 4:2:0");
    const std::size_t end = dissect(jpeg).end.first;
    const Bytes longer = joined(joined(part(jpeg, 0, end), {0x55}), part(jpeg, end, jpeg.size()));
    still_mend::ScanWalk walk(longer, candidate, longer.size());
    EXPECT_EQ(walk.decode(kAll), State::kBroken);
}

/// The MCUs of a picture; those from one on with a change of their level, after as many that are left out.
still_mend::McuTraces changed(const Opened& opened, std::size_t from, const still_mend::Levels& level,
                              std::size_t left_out = 0) {
    const auto& candidate = opened.candidate;
    const still_mend::McuDecoder decoder(*candidate.frame, *candidate.scan, candidate.tables);
    still_mend::McuTraces traces(*candidate.frame, *candidate.scan, candidate.tables);
    still_mend::BitReader reader(opened.jpeg, candidate.entropy);
    still_mend::DcState dc;
    still_mend::Mcu mcu;
    for (std::size_t index = 0; index < candidate.frame->mcus() && decoder.decode(reader, dc, mcu); ++index) {
        if (index < from || index >= from + left_out) {
            decoder.shift_dc(mcu, index >= from ? level : still_mend::Levels{});
            traces.append(mcu);
        }
    }
    return traces;
}

TEST(SeamFit, IsGoodWhereAPictureGoesOnAndBadWhereItIsMoved) {
    const auto picture = opened("baseline 4:2:0");
    constexpr std::size_t kWide = 40;
    constexpr std::size_t kPlace = 10 * kWide + 7;
    const auto as_it_is = changed(picture, kPlace, {});
    EXPECT_LE(still_mend::SeamFit(as_it_is, kWide).misfit(kPlace, kPlace + kWide),
              still_mend::SeamFit::bound(kWide));
    for (const std::size_t component : {0U, 1U, 2U}) {
        still_mend::Levels level{};
        level[component] = 30;
        const auto moved = changed(picture, kPlace, level);
        EXPECT_GT(still_mend::SeamFit(moved, kWide).misfit(kPlace, kPlace + kWide),
                  still_mend::SeamFit::bound(kWide))
            << component;
    }
    const auto slipped = changed(picture, kPlace, {}, 9);
    EXPECT_GT(still_mend::SeamFit(slipped, kWide).misfit(kPlace, kPlace + kWide),
              still_mend::SeamFit::bound(kWide));
}

TEST(SeamFit, ALevelThatIsOffByAFewIsFoundInEveryComponent) {
    const auto picture = opened("baseline 4:2:0");
    constexpr std::size_t kWide = 40;
    constexpr std::size_t kPlace = 10 * kWide + 7;
    const auto as_it_is = changed(picture, kPlace, {});
    EXPECT_TRUE(still_mend::SeamFit(as_it_is, kWide).is_level(kPlace, kPlace + kWide));
    for (const std::size_t component : {0U, 1U, 2U}) {
        still_mend::Levels level{};
        level[component] = 16; // Six levels at quality 90.
        const still_mend::McuTraces moved = changed(picture, kPlace, level);
        EXPECT_FALSE(still_mend::SeamFit(moved, kWide).is_level(kPlace, kPlace + kWide)) << component;
    }
}

TEST(FilePieces, BeginAtClustersAndAfterTheEndOfAJpeg) {
    Bytes file(10 * 512 + 100, 0);
    file[1200] = 0xFF;
    file[1201] = 0xD9;
    file[2046] = 0xFF; // What follows begins with a cluster.
    file[2047] = 0xD9;
    still_mend::FilePieces pieces(file, 512, 1024);
    EXPECT_EQ(pieces.starts(),
              (std::vector<std::size_t>{1024, 1536, 2048, 2560, 3072, 3584, 4096, 4608, 5120, 1202}));
    EXPECT_EQ(pieces.at(1202).last, 1536U);
    EXPECT_EQ(pieces.at(1400).last, 2048U); // Too little is left before the next.
    EXPECT_EQ(pieces.at(5120).last, file.size());
    EXPECT_FALSE(pieces.is_free(512));
    EXPECT_FALSE(pieces.is_free(file.size()));
    EXPECT_TRUE(pieces.is_free(1202));
    pieces.take(pieces.at(1202));
    EXPECT_FALSE(pieces.is_free(1202));
    EXPECT_TRUE(pieces.is_free(1024));
}

} // namespace
} // namespace test
