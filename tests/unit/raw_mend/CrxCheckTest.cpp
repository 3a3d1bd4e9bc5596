#include "coding/CrxCheck.h"
#include "coding/CrxPlane.h"

#include "support/CrxEncoder.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace test {
namespace {

using raw_mend::check_crx;
using raw_mend::CrxDecoding;
using raw_mend::CrxLayout;
using raw_mend::Extent;

constexpr unsigned kWidth = 256;
constexpr unsigned kHeight = 192;
constexpr unsigned kBits = 14;

using Samples = std::vector<std::uint16_t>;

Samples scene(unsigned number) {
    return Scene(number).bayer(kWidth, kHeight, kBits);
}

/// A track with its CMP1 before it.
struct Track {
    Bytes bytes;
    std::size_t at = 60;

    explicit Track(const Samples& samples, unsigned tile_width = kWidth) : bytes(60) {
        const Bytes data = encode_crx(samples, kWidth, kHeight, kBits, tile_width);
        for (std::size_t field : {16U, 24U}) {
            put_u32(bytes, field, field == 16 ? kWidth : tile_width, ByteOrder::kBig);
            put_u32(bytes, field + 4, kHeight, ByteOrder::kBig);
        }
        bytes[32] = kBits;
        bytes[33] = 0x40;
        const unsigned tiles = kWidth / tile_width + (kWidth % tile_width != 0 ? 1 : 0);
        put_u32(bytes, 36, (108 * tiles + 7) / 8 * 8, ByteOrder::kBig);
        bytes = joined(bytes, data);
    }

    [[nodiscard]] Extent data() const { return {at, bytes.size() - at}; }
    [[nodiscard]] CrxLayout layout() const { return *raw_mend::read_crx_layout(bytes, data(), {0, 60}); }
    [[nodiscard]] CrxDecoding check() const { return check_crx(bytes, data(), layout()); }
};

TEST(CrxCheck, WholeTracksDecode) {
    EXPECT_EQ(Track(scene(1)).check(), CrxDecoding::kComplete);
    EXPECT_EQ(Track(scene(2), 128).check(), CrxDecoding::kComplete);
    EXPECT_EQ(Track(scene(3), 100).check(), CrxDecoding::kComplete) << "the last tile is narrower";
}

TEST(CrxCheck, RunsAndNoiseDecode) {
    Samples half = scene(1);
    std::fill(half.begin() + kWidth * kHeight / 2, half.end(), std::uint16_t{16383});
    EXPECT_EQ(Track(half).check(), CrxDecoding::kComplete);
    EXPECT_EQ(Track(Samples(std::size_t{kWidth} * kHeight, 8192)).check(), CrxDecoding::kUnknown)
        << "a few bytes for all of it";
    Samples noisy = scene(1);
    Samples striped = scene(1);
    const Bytes random = noise(2 * noisy.size(), 1);
    for (std::size_t at = 0; at < noisy.size(); ++at) {
        noisy[at] = static_cast<std::uint16_t>((random[2 * at] * 256U + random[2 * at + 1]) & 0x3FFFU);
        striped[at] = at / 37 % 2 == 0 ? 0 : 16383;
    }
    EXPECT_EQ(Track(noisy).check(), CrxDecoding::kComplete);
    EXPECT_EQ(Track(striped).check(), CrxDecoding::kComplete);
}

TEST(CrxCheck, DamagedTracksDoNot) {
    const Track whole(scene(1), 128);
    const CrxLayout layout = whole.layout();
    unsigned found = 0;
    for (std::size_t at = whole.at + layout.header_size; at + 512 < whole.bytes.size(); at += 997) {
        Track damaged = whole;
        put_bytes(damaged.bytes, at, noise(512, 1));
        found += check_crx(damaged.bytes, damaged.data(), layout) == CrxDecoding::kBroken ? 1 : 0;
        damaged.bytes = zeroed(whole.bytes, at, at + 512);
        found += check_crx(damaged.bytes, damaged.data(), layout) == CrxDecoding::kBroken ? 1 : 0;
        damaged.bytes = joined(part(whole.bytes, 0, at), part(whole.bytes, at + 512, whole.bytes.size()));
        damaged.bytes = joined(damaged.bytes, noise(512, 2));
        found += check_crx(damaged.bytes, damaged.data(), layout) == CrxDecoding::kBroken ? 1 : 0;
        found -= 3;
    }
    EXPECT_EQ(found, 0U);
}

TEST(CrxCheck, FillerOfABandIsNotCoded) {
    Track track(scene(1));
    const auto add = [&](std::size_t field) {
        put_u32(track.bytes, field, get_u32(track.bytes, field, ByteOrder::kBig) + 64, ByteOrder::kBig);
    };
    const std::size_t plane = track.at + std::size_t{7} * 12; // The last one; its band follows.
    for (const std::size_t field : {track.at + 4, plane + 4, plane + 12 + 4, plane + 12 + 8}) {
        add(field);
    }
    track.bytes = joined(track.bytes, noise(64, 1));
    EXPECT_EQ(track.check(), CrxDecoding::kComplete);
    put_u32(track.bytes, plane + 12 + 8, get_u32(track.bytes, plane + 12 + 8, ByteOrder::kBig) - 16,
            ByteOrder::kBig);
    EXPECT_EQ(track.check(), CrxDecoding::kBroken) << "more bytes are left than a plane has";
}

TEST(CrxCheck, NothingIsKnownOfOtherCodings) {
    const Track whole(scene(1));
    CrxLayout layout = whole.layout();
    layout.frame.levels = 3;
    EXPECT_EQ(check_crx(whole.bytes, whole.data(), layout), CrxDecoding::kUnknown);
    layout = whole.layout();
    layout.frame.planes = 1;
    EXPECT_EQ(check_crx(whole.bytes, whole.data(), layout), CrxDecoding::kUnknown);
    Track rounded = whole;
    rounded.bytes[rounded.at + 12 + 8] = 0x0A; // Of plane 0: two bits less.
    EXPECT_EQ(rounded.check(), CrxDecoding::kUnknown);
    layout = whole.layout();
    layout.frame.width = 60000;
    layout.frame.height = 60000;
    layout.frame.tile_width = 60000;
    layout.frame.tile_height = 60000;
    EXPECT_EQ(check_crx(whole.bytes, whole.data(), layout), CrxDecoding::kUnknown);
}

TEST(CrxCheck, SizesThatDoNotFitAreBroken) {
    const Track whole(scene(1));
    for (const std::int64_t wider : {-2, 2, 64}) {
        CrxLayout layout = whole.layout();
        layout.frame.width = layout.frame.tile_width =
            static_cast<std::uint64_t>(std::int64_t{kWidth} + wider);
        EXPECT_EQ(check_crx(whole.bytes, whole.data(), layout), CrxDecoding::kBroken) << wider;
        layout = whole.layout();
        layout.frame.height = layout.frame.tile_height =
            static_cast<std::uint64_t>(std::int64_t{kHeight} + wider);
        EXPECT_EQ(check_crx(whole.bytes, whole.data(), layout), CrxDecoding::kBroken) << wider;
    }
}

TEST(CrxPlane, AnyBytesEnd) {
    for (unsigned seed = 0; seed < 200; ++seed) {
        static_cast<void>(raw_mend::crx_plane_decodes(noise(std::size_t{seed} * 7, seed), {100, 100, kBits}));
    }
    EXPECT_FALSE(raw_mend::crx_plane_decodes({}, {100, 100, kBits}));
    EXPECT_FALSE(raw_mend::crx_plane_decodes(Bytes(5000, 0), {100, 100, kBits}));
    EXPECT_FALSE(raw_mend::crx_plane_decodes(Bytes(5000, 0xFF), {100, 100, kBits}));
}

} // namespace
} // namespace test
