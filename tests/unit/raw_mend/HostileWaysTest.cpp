#include "Repair.h"
#include "Written.h"

#include "support/Cr3Photo.h"
#include "support/RafPhoto.h"

#include <gtest/gtest.h>

#include <random>

// Whatever the bytes are, a repair of a CR3 or a RAF ends, throws nothing, and writes as much as it says.

namespace test {
namespace {

void expect_consistent(const Bytes& damaged, const raw_mend::Sample& sample) {
    const auto repaired = raw_mend::repair(damaged, sample);
    if (!repaired || !repaired->file) {
        return;
    }
    EXPECT_EQ(written(*repaired->file).size(), repaired->file->size());
    EXPECT_LE(repaired->image.proved, repaired->image.count_found());
    for (const auto& piece : repaired->image.pieces) {
        EXPECT_TRUE(!piece || piece->is_within(damaged));
    }
    for (const auto& other : repaired->image.others) {
        EXPECT_TRUE(other.in_damaged.is_within(damaged));
        EXPECT_TRUE(other.in_sample.is_within(sample.file));
    }
}

/// Bytes of the head and of the image's first ones with extremes, or lost.
Bytes mutated(Bytes bytes, std::size_t head, std::mt19937& random) {
    for (unsigned count = random() % 4 + 1; count > 0; --count) {
        const std::size_t at = random() % std::min(head, bytes.size() - 4);
        switch (random() % 4) {
        case 0:
            bytes[at] = static_cast<unsigned char>(random());
            break;
        case 1:
            put_u32(bytes, at, 0xFFFFFFFF, ByteOrder::kBig);
            break;
        case 2:
            put_u32(bytes, at, static_cast<std::uint32_t>(random() % bytes.size()), ByteOrder::kBig);
            break;
        default:
            bytes = joined(part(bytes, 0, at), part(bytes, at + 1, bytes.size()));
        }
    }
    return bytes;
}

TEST(HostileWays, MutatedPhotographsOfCr3) {
    const Cr3Photo original({.number = 1, .pictures = true});
    const Cr3Photo other({.number = 2, .pictures = true});
    std::mt19937 random(1);
    for (unsigned nth = 0; nth < 400; ++nth) {
        // The middle of the headers of the raw track is included.
        const Bytes sample =
            nth % 2 == 0 ? other.bytes : mutated(other.bytes, other.tracks[2].offset + 112, random);
        const Bytes damaged = mutated(original.bytes, original.tracks[2].offset + 112, random);
        if (const auto read = raw_mend::Sample::read(sample)) {
            expect_consistent(damaged, *read);
            expect_consistent(part(damaged, 0, random() % damaged.size()), *read);
        }
    }
}

TEST(HostileWays, MutatedPhotographsOfRaf) {
    const auto compressed = [](unsigned number) {
        RafPhoto photo({.number = number});
        const Bytes head{0x49, 0x53, 1,    16,   14,   0x00, 0x78, 0x00,
                         0xC0, 0x00, 0xA0, 0x00, 0x40, 3,    0x00, 0x14};
        const Bytes data = joined(joined(head, u32_bytes({500 + number, 600, 700, 0}, ByteOrder::kBig)),
                                  noise(1800 + number, number));
        put_u32(photo.bytes, photo.strip_byte_counts_entry + 8, static_cast<std::uint32_t>(data.size()),
                ByteOrder::kLittle);
        photo.bytes = joined(part(photo.bytes, 0, photo.image_offset), data);
        return photo;
    };
    const RafPhoto original = compressed(1);
    const RafPhoto other = compressed(2);
    std::mt19937 random(1);
    for (unsigned nth = 0; nth < 400; ++nth) {
        const Bytes sample =
            nth % 2 == 0 ? other.bytes : mutated(other.bytes, other.image_offset + 32, random);
        const Bytes damaged = mutated(original.bytes, original.image_offset + 32, random);
        if (const auto read = raw_mend::Sample::read(sample)) {
            expect_consistent(damaged, *read);
            expect_consistent(part(damaged, 0, random() % damaged.size()), *read);
        }
    }
}

/// Heads of tracks, tables and boxes without number.
TEST(HostileWays, CountlessTracksTakeLinearTime) {
    const Cr3Photo other({.number = 2, .pictures = true});
    const auto sample = raw_mend::Sample::read(other.bytes);
    ASSERT_TRUE(sample);
    const Bytes heads = part(other.track(3), 0, 112);
    const Bytes table = part(other.bytes, other.at("trak3/stsz"), other.at("trak3/co64") + 24);
    Bytes damaged;
    for (unsigned nth = 0; nth < 40000; ++nth) {
        damaged.insert(damaged.end(), heads.begin(), heads.end());
        damaged.insert(damaged.end(), table.begin(), table.end());
        damaged.insert(damaged.end(), {0, 0, 0, 99, 'm', 'd', 'a', 't'});
    }
    expect_consistent(damaged, *sample);
}

} // namespace
} // namespace test
