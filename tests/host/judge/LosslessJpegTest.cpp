#include "judge/LosslessJpeg.h"

#include "support/LosslessJpeg.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

namespace test {
namespace {

using plate_mend::host::is_complete_lossless_jpeg;

class LosslessJpeg : public ::testing::Test {
  protected:
    const Bytes jpeg_ = lossless_jpeg(Scene(1).bayer(64, 48, 14), 64, 48);
};

TEST_F(LosslessJpeg, WholeOneIsComplete) {
    EXPECT_TRUE(is_complete_lossless_jpeg(jpeg_));
    EXPECT_TRUE(is_complete_lossless_jpeg(joined(jpeg_, noise(100, 1)))) << "whatever stands behind it";
}

TEST_F(LosslessJpeg, NoCutOneIsComplete) {
    for (std::size_t size = 0; size < jpeg_.size(); ++size) {
        EXPECT_FALSE(is_complete_lossless_jpeg(part(jpeg_, 0, size))) << size;
    }
}

TEST_F(LosslessJpeg, LostByteShowsInThreeOfFourPlacesAndMore) {
    const std::size_t header = jpeg_.size() / 4;
    std::size_t missed = 0;
    for (std::size_t at = header; at < jpeg_.size(); ++at) {
        const Bytes shorter = joined(part(jpeg_, 0, at), part(jpeg_, at + 1, jpeg_.size()));
        missed += is_complete_lossless_jpeg(shorter) ? 1U : 0U;
    }
    EXPECT_LT(missed, (jpeg_.size() - header) / 4);
}

TEST_F(LosslessJpeg, OverwrittenBlocksShow) {
    for (std::size_t at = jpeg_.size() / 4; at + 64 < jpeg_.size() - 2; at += 64) {
        Bytes noisy = jpeg_;
        put_bytes(noisy, at, noise(64, static_cast<std::uint32_t>(at)));
        EXPECT_FALSE(is_complete_lossless_jpeg(noisy)) << at;
    }
}

TEST_F(LosslessJpeg, FillBytesMayPrecedeRestartMarkersAndEoi) {
    LosslessJpegOptions options;
    options.restart_interval = 64;
    for (const std::size_t fill_bytes : {0U, 1U, 2U, 7U}) {
        options.fill_bytes = fill_bytes;
        EXPECT_TRUE(is_complete_lossless_jpeg(lossless_jpeg(Scene(1).bayer(64, 48, 14), 64, 48, options)))
            << fill_bytes;
    }
}

TEST_F(LosslessJpeg, AnyBytesAreTaken) {
    EXPECT_FALSE(is_complete_lossless_jpeg({}));
    EXPECT_FALSE(is_complete_lossless_jpeg({0xFF, 0xD8, 0xFF, 0xD9}));
    for (std::uint32_t seed = 0; seed < 200; ++seed) {
        Bytes bytes = jpeg_;
        put_bytes(bytes, seed, noise(40, seed)); // The header.
        static_cast<void>(is_complete_lossless_jpeg(bytes));
        EXPECT_FALSE(is_complete_lossless_jpeg(noise(500, seed)));
    }
}

} // namespace
} // namespace test
