#include "Repair.h"
#include "locate/RowExtent.h"
#include "Written.h"

#include "support/ImagePlace.h"
#include "support/RafPhoto.h"
#include "support/RawDecode.h"
#include "support/RealFiles.h"
#include "support/Scene.h"

#include <gtest/gtest.h>

#include <functional>

// RAF: rows without a code, and compressed data with a head of their own.

namespace test {
namespace {

/// The real head of a S5Pro, which has two images of the same size one after the other, with both of them.
struct TwoImages {
    static constexpr unsigned kWidth = 0x1100;
    static constexpr unsigned kHeight = 0x5A4;
    static constexpr std::size_t kOffset = 38408;
    static constexpr std::size_t kSize = std::size_t{2} * kWidth * kHeight;

    TwoImages(const Bytes& head, unsigned number) : bytes(part(head, 0, kOffset)) {
        put_u32(bytes, 104, kSize, ByteOrder::kBig);
        put_u32(bytes, 128, kOffset + kSize, ByteOrder::kBig);
        put_u32(bytes, 132, kSize, ByteOrder::kBig);
        const auto samples = Scene(number).bayer(kWidth / 4, kHeight / 4, 14);
        first.resize(std::size_t{kWidth} * kHeight);
        for (std::size_t at = 0; at < first.size(); ++at) {
            const std::size_t row = at / kWidth / 8 * 2 + at / kWidth % 2;
            const std::size_t column = at % kWidth / 8 * 2 + at % 2;
            const auto grain = static_cast<std::uint16_t>((at * 2654435761U >> 13U) % 23);
            first[at] = static_cast<std::uint16_t>(samples[row * (kWidth / 4) + column] + grain);
        }
        second = first;
        for (auto& sample : second) {
            sample = static_cast<std::uint16_t>(sample / 16 + 40);
        }
        bytes = joined(bytes, u16_bytes(first, ByteOrder::kLittle));
        bytes = joined(bytes, u16_bytes(second, ByteOrder::kLittle));
    }

    Bytes bytes;
    std::vector<std::uint16_t> first;
    std::vector<std::uint16_t> second;
};

TEST(RafRepair, RealHeadWithTwoImages) {
    REAL_FILE_OR_SKIP(head, "raf/fuji-s5pro-stripped.raf");
    const TwoImages original(head, 1);
    const TwoImages other(head, 2);
    const auto picture = decode_raw(original.bytes);
    ASSERT_TRUE(picture);
    std::printf("%u x %u, first %u %u\n", picture->width, picture->height, picture->samples[0], original.first[0]);
    const auto sample = raw_mend::Sample::read(other.bytes);
    ASSERT_TRUE(sample);
    ASSERT_TRUE(sample->rows);
    std::printf("traits %d %lu %d %d\n", sample->traits.break_known, sample->traits.break_unit, sample->traits.masked_left, sample->traits.masked_right);
    for (const Bytes& damaged : {original.bytes, zeroed(original.bytes, 0, 4096), zeroed(original.bytes,0,TwoImages::kOffset), joined(noise(1000,1), zeroed(original.bytes,0,TwoImages::kOffset))}) {
        const auto repaired = raw_mend::repair(damaged, *sample);
        EXPECT_TRUE(repaired);
        if (!repaired) {
            const auto found = raw_mend::find_row_extent(damaged, sample->rows->geometry, sample->traits, {sample->rows->extent.offset, sample->file.size() - sample->rows->extent.end()});
            for (auto& i : found.images) std::printf("image %ld proof %d pic %lu %lu\n", i.start, (int)i.proof, i.picture_begin, i.picture_end);
            continue;
        }
        EXPECT_TRUE(image_bytes(written(*repaired->file)) == image_bytes(original.bytes));
    }
}

} // namespace
} // namespace test
